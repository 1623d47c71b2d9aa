#!/bin/bash
# endings.sh PROGRAM [EMULATOR]: takes every way to end, at different moments, RUNS times each (from the environment;
# else three times, under an emulator once). No run may end by a signal or with another status than 0, hang, or print on
# standard error, or, with the log off, on standard output, which is the host's.
# Ways in which threads of the host render are left out under the emulator: it sometimes hangs when it ends threads
# inside the driver, with any program that draws.
set -u
logs=$(mktemp -d)
trap 'rm -rf "$logs"' EXIT
command=(${2:+"$2"} "$1")
mapfile -t names < <("${command[@]}" | tr -d '\r' | if (($# > 1)); then grep -v thread; else cat; fi)
runs=${RUNS:-${2:+1}}
runs=${runs:-3}

# run_one LOGS NAME RUN COMMAND...
run_one() {
  local log="$1/$2.$3" status
  QVG_LOG_LEVEL=off timeout -k 5 20 "${@:4}" "$2" $(($3 * 1370 % 20000)) >"$log" 2>"$log.errors" </dev/null
  status=$?
  if ((status != 0)) || [[ -s $log.errors ]] || grep -q '^\[' "$log"; then
    echo "$2: run $3 ended with status $status"
    head -n 30 "$log.errors"
    touch "$log.failed"
  fi
  rm -f "$log"
}
export -f run_one

for name in "${names[@]}"; do
  for ((run = 0; run < runs; ++run)); do printf '%s\0%s\0' "$name" "$run"; done
done | xargs -0 -n 2 -P "$(nproc)" bash -c 'run_one "$0" "${@: -2}" "${@:1:$#-2}"' "$logs" "${command[@]}"

failed=$(find "$logs" -name '*.failed' | wc -l)
echo "$failed of $((runs * ${#names[@]})) runs failed"
((failed == 0 && ${#names[@]} > 0))
