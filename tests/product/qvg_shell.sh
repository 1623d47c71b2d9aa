#!/bin/bash
# The tool among other programs: shells that complete its command line, readers of its progress, live inputs, signals,
# drivers that don't work. Argument: path of qvg. RUNS: how often to send each signal.
# shellcheck disable=SC2086 source=tests/product/tool_checks.sh
source "$(dirname "$0")/tool_checks.sh"
unset DISPLAY WAYLAND_DISPLAY

make -f lavfi -i "testsrc2=size=320x240:rate=25" -t 2 -c:v libx264 clip.mp4
make -f lavfi -i "testsrc2=size=160x120:rate=25" -t 600 -c:v libx264 -preset ultrafast long.mp4

# ---- Completion and manual page

"$qvg" completion bash >qvg.bash
offered() {
  bash -c 'source ./qvg.bash && COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) && _qvg && printf "%s\n" "${COMPREPLY[@]}"' \
    - qvg "$@" | sort | xargs
}
while IFS=';' read -ra row; do
  mapfile -t words < <(xargs -n 1 <<<"${row[0]}")
  expect "completed: ${row[0]}" "${row[1]:-}" "$(offered "${words[@]}")"
done <<'ROWS'
pro;process
process --sim;--similarity
process --blend mul;multiply
process --blend = mul;multiply
process --preset slow;slow slower
process --key aut;auto
process --background cli;clip.mp4
process --scale cli
process cli;clip.mp4
view --rot
view --loo;--loop
completion "";bash fish zsh
ROWS
"$qvg" man >qvg.1 && groff -man -ww -Tutf8 -P-cbou qvg.1 >man.txt 2>err.log
expect "manual page, and nothing to complain about" "0 4" \
  "$(lines err.log) $(grep -Ec '^ +(--blend NAME|--similarity 1\.\.1000|-o, --output FILE)$' man.txt)"

# ---- Progress

# What a program reads from the objects: frames that increase, a total, the outcome in the last one.
told='import json, sys
rows = [json.loads(line) for line in open(sys.argv[1])]
last = rows[-1]
assert [row["done"] for row in rows] == [False] * (len(rows) - 1) + [True]
frames = [row["frame"] for row in rows]
assert frames == sorted(frames) and all(row["elapsed"] >= 0 and row["fps"] >= 0 for row in rows)
print(last["outcome"], last["exit"], last["frame"], last["total"], last["time"], last["remaining"])'
for row in "clip.mp4;finished 0 50 50 1.96 0.0" "-;finished 0 50 None 1.96 None" \
  "nothing.mp4;failed 1 0 None 0.0 None"; do
  ffmpeg -nostdin -v error -i clip.mp4 -f yuv4mpegpipe - 2>/dev/null |
    "$qvg" process ${row%%;*} -o out.mp4 --progress-file told --preset ultrafast >out.log 2>err.log
  expect "progress of ${row%%;*}" "${row#*;}" "$(python3 -c "$told" told)"
done
"$qvg" process clip.mp4 -o out.mp4 --progress json --quiet --frames 5 >out.log 2>told
expect "progress on standard error, and quiet" "0 finished 0 5 5 0.16 0.0" "$(lines out.log) $(python3 -c "$told" told)"

# ---- Capture

Xvfb -displayfd 3 -screen 0 320x240x24 -nolisten tcp -noreset 3>display >/dev/null 2>&1 </dev/null &
server=$!
trap 'kill $server; rm -rf "$dir"' EXIT
within 100 test -s display
screen=:$(<display)
make -f lavfi -i "color=0x2060C0:size=320x240,format=rgb24" -frames:v 1 shown.png
DISPLAY=$screen "$qvg" view shown.png >out.log 2>&1 &
viewer=$!
trap 'kill $viewer $server; rm -rf "$dir"' EXIT
seen() { make -f x11grab -i "$screen" -frames:v 1 seen.png && [[ $(rgba seen.png 20:20) == "32 96 192 255" ]]; }
within 100 seen
"$qvg" process --capture "x11:$screen" --capture-size 160x120 --capture-rate 10 --duration 0.95 -o screen.mp4 \
  >out.log 2>&1
expect "capture of a screen" "0 160,120 0.000000 1" "$? $(probe -show_entries stream=width,height screen.mp4) $(probe \
  -show_entries packet=pts_time screen.mp4 | head -n 1 | tr -d ,) $(($(frames screen.mp4) >= 3))"
near "colour of the screen" 6 "32 96 192" "$(rgba screen.mp4 20:20 | cut -d' ' -f1-3)"
"$qvg" process --capture lavfi:color=0x23A844:size=320x180:rate=10,drawbox=x=120:y=30:w=80:h=150:color=0xC8785A:t=fill \
  --key auto --background-color 0x102030 --frames 5 -o keyed.mp4 >out.log 2>&1
near "key of a capture" 12 "16 32 48 200 120 90" "$(rgba keyed.mp4 4:4 160:90 | cut -d' ' -f1-3,5-7)"
for row in "v4l2:/dev/nothing;No such file" "x11::77;annot open display :77" "bogus:1;v4l2" "lavfi:nosuch;nosuch" \
  "nothing;FORMAT:NAME" "lavfi:color --capture-size 9x9;takes no video_size"; do
  "$qvg" process --capture ${row%%;*} -o out.png >out.log 2>err.log
  expect "told: --capture ${row%%;*}" "1 1 1" "$? $(lines err.log) $(grep -c "${row#*;}" err.log)"
done

# ---- Drivers that don't work

while IFS=';' read -r variable wanted; do
  env -u __EGL_VENDOR_LIBRARY_FILENAMES "$variable" "$qvg" info >out.log 2>/dev/null
  expect "told: $variable" "1 1 1 1" "$? $(grep -Ec "$wanted" out.log) $(grep -c "^Hint .*${variable%%=*} is set" out.log) \
$(grep -c "packages libegl1" out.log)"
done <<'ROWS'
__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent;^OpenGL .*required 4.2, found 0.0: the library could not start
LIBGL_DRIVERS_PATH=/nonexistent;surfaceless .*EGL_NOT_INITIALIZED
MESA_GL_VERSION_OVERRIDE=3.0;^OpenGL .*required 4.2, found 3.0: not enough
ROWS
expect "completion without a driver, but for the effect" "2 1 1" \
  "$(__EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent "$qvg" completion bash 2>err.log | grep -Ec "'(process|view) '\*") \
$(lines err.log) $(grep -c "effect's options are left out" err.log)"

# ---- Signals, and readers that leave

# stopped SIGNAL ARGUMENT...: the exit code, and whether there is a picture in out.mkv.
stopped() {
  rm -f out.mkv
  "$qvg" process "${@:2}" -o out.mkv --preset ultrafast >out.log 2>err.log </dev/null &
  local tool=$!
  within 200 test -s out.mkv
  sleep "0.$((RANDOM % 10))"
  kill "-$1" $tool
  wait $tool
  echo "$? $(($(frames out.mkv) >= 1))"
}
for ((run = 0; run < ${RUNS:-1}; ++run)); do
  for signal in INT TERM HUP; do expect "SIG$signal" "130 1" "$(stopped "$signal" long.mp4)"; done
  expect "SIGINT ends a capture" "0 1" "$(stopped INT --capture "x11:$screen")"
done
# A stream that stays silent, and one whose reader leaves.
mkfifo silent
exec 5<>silent
printf x >&5
"$qvg" process - -o out.mkv <silent >out.log 2>err.log &
tool=$!
# It has read what there was, and sleeps.
waits() { ! read -r -t 0 -u 5 && grep -q '^State:.S' "/proc/$tool/status"; }
within 200 waits
kill -TERM $tool
wait $tool
expect "SIGTERM while the input is silent" "130 1" "$? $(lines err.log)"
(trap '' PIPE; "$qvg" process clip.mp4 -o - 2>err.log; echo $? >code) | head -c 1000 >/dev/null
expect "a reader that leaves" "1 1 1" "$(<code) $(lines err.log) $(grep -c "cannot write -: Broken pipe" err.log)"

finish
