# Sourced by ./test and .ci/run, after scripts/set-up.sh: runs tests that are built. Needs bash.

# The reasons for which a test may be skipped. A skip for any other reason fails the run: a program that should be
# installed is missing, or a check was lost unnoticed.
acceptable_skips="no (image|file system) can be mounted here|this kernel can't be asked to|sway cannot run here|clang-format 19 is needed"
has_apt || acceptable_skips+="|KDE's icon loader is not installed"

# run_tests PRESET [ARGUMENT...]: arguments go to ctest. What plays and records sound does so in real time, and waits most
# of the time: these tests come last, beside each other and beside nothing that computes.
run_tests() {
  local preset=$1
  shift
  say "Testing ($preset)"
  run_some_tests "$preset" --label-exclude '^(device|endtoend)$' "$@"
  run_some_tests "$preset" --label-regex '^(device|endtoend)$' "$@"
}

# run_some_tests PRESET ARGUMENT...: fails also when a test was skipped for a reason that is not acceptable.
run_some_tests() {
  local preset=$1 log=$setup_root/build/$1/Testing/Temporary/LastTest.log unexpected
  shift
  (cd "$setup_root" && ctest --preset "$preset" --parallel "$(nproc)" --no-tests=ignore "$@")
  # GoogleTest tells the reason on the line behind "file:line: Skipped", Python's unittest behind "skipped".
  unexpected=$({ grep -a -A1 ': Skipped$' "$log" | grep -av -e ': Skipped$' -e '^--$'
    grep -aoE -e '\.\.\. skipped .*' -e '^Not tested: .*' "$log"; } | grep -avE "$acceptable_skips") || true
  [[ ! $unexpected ]] || die "Tests were left out that should have run:"$'\n'"$unexpected"
}

# run_changed_tests PRESET: the unit tests that are not slow, of each test program that was built anew since it last
# passed here
run_changed_tests() {
  local folder=$setup_root/build/$1/tests program changed=()
  for program in "$folder"/*_tests; do
    [[ $program -ot $program.passed ]] || changed+=("${program##*/}")
  done
  if ((${#changed[@]} == 0)); then
    say "Nothing has changed since these tests passed."
    return
  fi
  # In this configuration each program is one test.
  run_tests "$1" --build-config Quick --tests-regex "^(($(IFS='|' && echo "${changed[*]}"))\$|house\.)" --label-regex '^(quick|unit)$'
  for program in "${changed[@]}"; do touch "$folder/$program.passed"; done
}
