#!/bin/bash
# race_tests.sh [TIMES]: the tests that use threads, many times over (100) under the thread sanitizer. The first report
# ends it. The planted races come first: without them, silence would say nothing.
set -eu
cd "$(dirname "$0")/.."
. scripts/test_parts.sh
times=${1:-100}
mkdir -p build/results
build tsan qvg_tests qvg_unit_tests qvg_races || exit
# Tests in whose source threads begin, or wait for one of the library's.
threaded=$(awk '/^TEST/ { split($0, name, /[(, )]+/) } /std::(jthread|thread|this_thread)/ && name[2] != "" {
  print "*" name[2] "." name[3] "*" }' tests/table/*.cpp tests/unit/*.cpp | sort -u | paste -sd:)
fixed=()
setarch -R true 2>/dev/null && fixed=(setarch -R)
start_xvfb
run=("${with_x[@]}" "${mesa_only[@]}" "${sanitizer_options[@]}" "${fixed[@]}")
"${run[@]}" tests/abuse/planted_races.sh build/tsan/qvg_races
for program in qvg_tests qvg_unit_tests; do
  "${run[@]}" "build/tsan/$program" "--gtest_filter=$threaded" "--gtest_repeat=$times" --gtest_brief=1 \
    --gtest_fail_fast | grep -a -v -e '^$' -e '^Repeating' -e '^Note:' | sort | uniq -c
done
