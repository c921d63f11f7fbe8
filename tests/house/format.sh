#!/usr/bin/env bash
# format.sh CLANG_FORMAT ROOT: every C++ file is formatted, as version 19 does it. Each version formats a little differently;
# this one is in Debian 12 and in Debian 13. With any other the test is skipped (77) and says so.
set -euo pipefail
if [[ $("$1" --version) != *' version 19.'* ]]; then
  echo "Not tested: clang-format 19 is needed, and this is $("$1" --version)"
  exit 77
fi
find "$2" -path "$2/build" -prune -o \( -name '*.h' -o -name '*.cpp' \) -print0 | xargs -0 "$1" --dry-run --Werror
