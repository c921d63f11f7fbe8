#!/usr/bin/env bash
# format.sh CLANG_FORMAT ROOT: every C++ file is formatted.
set -euo pipefail
find "$2"/{src,tests,bench} -name '*.h' -o -name '*.cpp' | xargs "$1" --dry-run --Werror
