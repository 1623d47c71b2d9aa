#!/bin/bash
# race_tests.sh [TIMES]: the tests that use threads, many times over (100) under the thread sanitizer. Stops at the
# first report. The planted races come first: if they were not reported, silence would mean nothing.
set -eu
cd "$(dirname "$0")/.."
. scripts/test_parts.sh
times=${1:-100}
mkdir -p build/results
build tsan || exit
start_xvfb
set_tsan_run
"${tsan_run[@]}" tests/abuse/planted_races.sh build/tsan/qvg_races
for program in qvg_tests qvg_unit_tests; do
  "${tsan_run[@]}" "build/tsan/$program" "--gtest_filter=$(threaded_tests)" "--gtest_repeat=$times" --gtest_brief=1 \
    --gtest_fail_fast | grep -a -v -e '^$' -e '^Repeating' -e '^Note:' | sort | uniq -c
done
