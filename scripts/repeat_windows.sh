#!/bin/bash
# repeat_windows.sh [ROUNDS]: runs the Windows test programs again and again, under Wine. No round may fail, and none is
# repeated. Expects what ./test windows has built and installed.
set -u
cd "$(dirname "$0")/.." || exit 1
source scripts/test_parts.sh
rounds=${1:-50}
failures=0
mkdir -p build/results
start_xvfb
run=("${with_x[@]}" "${wine_environment[@]}")
"${run[@]}" scripts/make_wine_prefix.sh >/dev/null 2>&1 || exit 1
"${run[@]}" wineserver -p
for ((round = 1; round <= rounds; ++round)); do
  for program in qvg_unit_tests qvg_tests; do
    log=build/results/repeat-$program.log
    timeout -k 10 900 "${run[@]}" wine "build/windows/$program.exe" >"$log" 2>&1 </dev/null
    status=$?
    ((status == 0)) && continue
    ((++failures))
    cp "$log" "build/results/repeat-$program.$round.log"
    echo "round $round: $program ended with status $status: build/results/repeat-$program.$round.log"
    grep -a '^\[  FAILED  \]' "$log" | sort -u
  done
done
"${run[@]}" wineserver -k
echo "$rounds rounds, $failures failures"
((failures == 0))
