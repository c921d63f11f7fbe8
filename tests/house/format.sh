#!/usr/bin/env bash
# format.sh CLANG_FORMAT ROOT: every C++ file is formatted.
set -euo pipefail
find "$2" -path "$2/build" -prune -o \( -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 "$1" --dry-run --Werror
