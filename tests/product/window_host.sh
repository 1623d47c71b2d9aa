#!/bin/bash
# window_host.sh PROGRAM [EMULATOR]: an example host with a window shows its frames and ends, and, under the emulator,
# ends when its window is closed. Starts an X server if there is none.
set -eu
if [[ ! ${DISPLAY-} ]]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp -noreset" "$0" "$@"
fi
program=$1
run=(${2:+"$2"} "$program")

shown=$("${run[@]}" 40 | grep -a -v '^\[')
echo "$shown"
[[ $shown == "40 frames shown in a window of 640 x 360"* ]]

if [[ ${2-} ]]; then
  "${run[@]}" >/dev/null &
  host=$!
  sleep 3
  wine taskkill /im "$(basename "$program")"
  wait "$host"
fi
