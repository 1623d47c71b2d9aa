#!/bin/bash
# quiet.sh PROGRAM [EMULATOR]: with QVG_LOG_LEVEL standard output belongs to the host alone.
set -eu
program=$1
shift
lines=$(QVG_LOG_LEVEL=debug "$@" "$program" | grep -c '^\[')
((lines > 0)) || { echo "no line of the library at all"; exit 1; }
lines=$(QVG_LOG_LEVEL=off "$@" "$program" | grep -c '^\[' || true)
((lines == 0)) || { echo "$lines lines of the library though they are off"; exit 1; }
