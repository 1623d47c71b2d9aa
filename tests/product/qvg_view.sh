#!/bin/bash
# Uses the tool's windows as a person would, on an X server of its own. Argument: path of qvg.
set -u
qvg=$(realpath "$1")
dir=$(mktemp -d)
cd "$dir" || exit 1
unset WAYLAND_DISPLAY
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>display >/dev/null 2>&1 </dev/null &
server=$!
tool=
trap '[[ $tool ]] && kill "$tool" 2>/dev/null; kill "$server"; wait "$server" 2>/dev/null; rm -rf "$dir"' EXIT
passed=0 failed=0

# verdict NAME STATUS [DETAIL]: counts a check by its status.
verdict() {
  if [[ $2 -eq 0 ]]; then
    ((++passed))
    echo "ok    $1"
  else
    ((++failed))
    echo "FAIL  $1${3:+: $3}"
  fi
}
# expect NAME WANTED GOT
expect() {
  [[ $2 == "$3" ]]
  verdict "$1" $? "wanted '$2', got '$3'"
}
# eventually NAME COMMAND...: the command succeeds within five seconds.
eventually() {
  local name=$1 tries
  shift
  for ((tries = 0; tries < 50; ++tries)); do
    "$@" && break
    sleep 0.1
  done
  ((tries < 50))
  verdict "$name" $? "$* (title: $(title))"
}
frames() { ffprobe -v error -of csv=p=0 -count_frames -select_streams v -show_entries stream=nb_read_frames "$1" | tr -d ','; }
lines() { wc -l <"$1"; }

# start ARGUMENT...: runs the tool until its window is there and has the keyboard.
window=
start() {
  "$qvg" "$@" >out.log 2>err.log </dev/null &
  tool=$! window=
  local tries
  for ((tries = 0; tries < 100; ++tries)); do
    window=$(xdotool search --name '^qvg: ' 2>/dev/null | tail -n 1)
    [[ $window ]] && xdotool windowfocus "$window" 2>/dev/null && [[ $(xdotool getwindowfocus 2>/dev/null) == "$window" ]] && return
    sleep 0.1
  done
  verdict "a window of qvg $1" 1 "$(<err.log)"
}
# ended NAME STATUS: the tool has ended, or does so within ten seconds.
ended() {
  local tries
  for ((tries = 0; tries < 100; ++tries)); do
    kill -0 "$tool" 2>/dev/null || break
    sleep 0.1
  done
  kill "$tool" 2>/dev/null
  wait "$tool"
  expect "$1" "$2" $?
  tool=
}
key() { xdotool key "$1"; }
title() { xdotool getwindowname "$window" 2>/dev/null; }
titled() { [[ $(title) == *"$1"* ]]; }
shot() { import -window "$window" "$1" 2>/dev/null; }
# shows X,Y COLOUR ...: the window's pixels there.
shows() {
  shot now.png
  local got=
  while (($#)); do
    got=$(convert now.png -crop "1x1+${1/,/+}" -depth 8 rgb:- | od -An -tx1 | tr -d ' ')
    [[ $got == "$2" ]] || return 1
    shift 2
  done
}
red=ff0000 green=00ff00 blue=0000ff white=ffffff black=000000

for ((i = 0; i < 50; ++i)); do
  [[ -s display ]] && break
  sleep 0.1
done
DISPLAY=:$(<display)
export DISPLAY

# ---- An image: red and green above blue and white

quarters="color=red:size=200x100,format=rgb24,drawbox=x=100:w=100:h=50:color=0x00ff00:t=fill"
quarters+=",drawbox=y=50:w=100:h=50:color=blue:t=fill,drawbox=x=100:y=50:w=100:h=50:color=white:t=fill"
ffmpeg -nostdin -v error -f lavfi -i "$quarters" -frames:v 1 quarters.png
start view quarters.png
eventually "an image stands upright" shows 10,10 $red 190,10 $green 10,90 $blue 190,90 $white
titled "$("$qvg" info | sed -n 's/^Renderer *//p')"
verdict "the title names the renderer" $? "$(title)"
xdotool windowsize "$window" 400 100
eventually "bars at the sides of a wide window" shows 98,50 $black 102,10 $red 297,90 $white 301,50 $black
xdotool windowsize "$window" 200 300
eventually "bars above and below in a tall window" shows 100,97 $black 10,103 $red 190,197 $white 100,202 $black
xdotool windowsize "$window" 200 400
key r
eventually "r turns clockwise" shows 10,10 $blue 190,10 $red 10,390 $white 190,390 $green
key f
eventually "f turns it upside down" shows 10,10 $white 190,10 $green 10,390 $blue 190,390 $red
key 1
eventually "without an effect its keys say so" titled "no effect in use"
key Escape
ended "Escape closes" 0

# ---- A clip while it is processed

"$qvg" process -o whole.mp4 --preview --max-speed --size 320x180 --frames 10 >out.log 2>err.log
expect "a preview to the end" "0 10 0 0" "$? $(frames whole.mp4) $(grep -c closed out.log) $(lines err.log)"

ffmpeg -nostdin -v error -f lavfi -i "testsrc2=size=320x240:rate=25" -t 20 -c:v libx264 -preset ultrafast clip.mp4
SECONDS=0
"$qvg" process clip.mp4 -o paced.mp4 --preview --frames 70 >out.log 2>err.log
((SECONDS >= 2))
verdict "frames come at the clip's own rate" $? "70 of 25 a second in $SECONDS s"

start process clip.mp4 -o closed.mp4 --preview
eventually "the title shows the rate" titled "frames/s"
key space
eventually "space pauses" titled "paused"
shot first.png
sleep 0.3
shot second.png
cmp -s first.png second.png
verdict "a paused picture stands" $?
xdotool windowsize "$window" 640 240
eventually "and is drawn again in a resized window" shows 155,120 $black 485,120 $black
shot first.png
key Right
another() { shot second.png && ! cmp -s first.png second.png; }
eventually "right steps to another picture" another
titled "paused"
verdict "and stays paused" $? "$(title)"
key space
eventually "space goes on" titled "frames/s"
key q
ended "q closes" 0
expect "and the tool says so" "1 0" "$(grep -c '^window closed: closed.mp4' out.log) $(lines err.log)"
count=$(frames closed.mp4)
((count > 1 && count < 500))
verdict "the output is readable up to there" $? "$count frames"

start view clip.mp4 --from 19 --max-speed
eventually "a clip that has ended stays" titled ", end"
key q
ended "until it is closed" 0

start process clip.mp4 -o lost.mp4 --preview
eventually "it plays" titled "frames/s"
key space
eventually "it is paused" titled "paused"
xdotool windowclose "$window"
ended "a window destroyed by others counts as closed" 0
count=$(frames lost.mp4)
((count > 1 && count < 500))
verdict "and the output is readable" $? "$count frames"

# ---- No display

for command in "process -o none.mp4 --frames 2 --preview" "view quarters.png"; do
  # shellcheck disable=SC2086
  env -u DISPLAY "$qvg" $command >out.log 2>err.log </dev/null
  expect "no display: ${command%% *}" "1 1 0" "$? $(grep -c '^qvg: .*no display' err.log) $(ls none.mp4 2>/dev/null | wc -l)"
  expect "one line: ${command%% *}" "1" "$(lines err.log)"
done

echo "$passed passed, $failed failed"
((failed == 0))
