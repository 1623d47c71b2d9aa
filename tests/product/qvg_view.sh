#!/bin/bash
# Uses the tool's windows as a person would, on an X server of its own. Argument: path of qvg.
# shellcheck disable=SC2086 source=tests/product/tool_checks.sh
source "$(dirname "$0")/tool_checks.sh"
unset WAYLAND_DISPLAY
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>display >/dev/null 2>&1 </dev/null &
server=$!
tool=
trap '[[ $tool ]] && kill "$tool" 2>/dev/null; kill "$server"; wait "$server" 2>/dev/null; rm -rf "$dir"' EXIT

# eventually NAME COMMAND...: the command succeeds within five seconds.
eventually() {
  within 50 "${@:2}"
  verdict "$1" $? "${*:2} (title: $(title))"
}
# press KEY NAME COMMAND...: eventually, after the key.
press() {
  xdotool key "$1"
  eventually "${@:2}"
}

# start ARGUMENT...: runs the tool until its window is there and has the keyboard.
window=
start() {
  "$qvg" "$@" >out.log 2>err.log </dev/null &
  tool=$! window=
  within 100 focused || verdict "a window of qvg $1" 1 "$(<err.log)"
}
focused() {
  window=$(xdotool search --name '^qvg: ' 2>/dev/null | tail -n 1)
  [[ $window ]] && xdotool windowfocus "$window" 2>/dev/null && [[ $(xdotool getwindowfocus 2>/dev/null) == "$window" ]]
}
# ends NAME COMMAND...: the command makes the tool end well within ten seconds.
ends() {
  "${@:2}"
  within 100 gone
  kill "$tool" 2>/dev/null
  wait "$tool"
  expect "$1" "0" $?
  tool=
}
gone() { ! kill -0 "$tool" 2>/dev/null; }
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

within 50 test -s display
DISPLAY=:$(<display)
export DISPLAY

# ---- An image: red and green above blue and white

quarters="color=red:size=200x100,format=rgb24,drawbox=x=100:w=100:h=50:color=0x00ff00:t=fill"
quarters+=",drawbox=y=50:w=100:h=50:color=blue:t=fill,drawbox=x=100:y=50:w=100:h=50:color=white:t=fill"
make -f lavfi -i "$quarters" -frames:v 1 quarters.png
start view quarters.png
eventually "an image stands upright" shows 10,10 $red 190,10 $green 10,90 $blue 190,90 $white
eventually "the title names the renderer" titled "$("$qvg" info | sed -n 's/^Renderer *//p')"
xdotool windowsize "$window" 200 400
press r "r turns clockwise" shows 10,10 $blue 190,10 $red 10,390 $white 190,390 $green
press f "f turns it upside down" shows 10,10 $white 190,10 $green 10,390 $blue 190,390 $red
press 1 "without an effect its keys say so" titled "no effect in use"
ends "Escape closes" xdotool key Escape

# ---- The effect's stages

for what in "process quarters.png -o keyed.png --preview" "view quarters.png"; do
  start $what --key 0x00ff00 --similarity 100 --bright -50
  eventually "the effect at work" shows 10,10 800000 190,10 $black 10,90 000080
  press 3 "3 switches colour off" shows 10,10 $red 190,10 $black 10,90 $blue
  press 1 "1 switches the key off" shows 10,10 $red 190,10 $green 10,90 $blue
  eventually "the title tells" titled "without key colour"
  press 3 "and on again" shows 10,10 800000 190,10 008000
  ends "q ends it" xdotool key q
done

# ---- A clip while it is processed

make -f lavfi -i "testsrc2=size=320x240:rate=25" -t 20 -c:v libx264 -preset ultrafast clip.mp4
SECONDS=0
"$qvg" process clip.mp4 -o paced.mp4 --preview --frames 70 >out.log 2>err.log
expect "a preview to the end; 70 frames of 25 a second come in two seconds and more" "0 70 0 0 1" \
  "$? $(frames paced.mp4) $(grep -c closed out.log) $(lines err.log) $((SECONDS >= 2))"

start process clip.mp4 -o closed.mp4 --preview
eventually "the title shows the rate" titled "frames/s"
press space "space pauses" titled "paused"
shot first.png
sleep 0.3
shot second.png
cmp -s first.png second.png
verdict "a paused picture stands" $?
xdotool windowsize "$window" 640 240
eventually "and is drawn again in a resized window" shows 155,120 $black 485,120 $black
shot first.png
another() { shot second.png && ! cmp -s first.png second.png && titled "paused"; }
press Right "right steps to another picture and stays paused" another
press space "space goes on" titled "frames/s"
ends "q closes" xdotool key q
expect "and the tool says so" "1 0" "$(grep -c '^window closed: closed.mp4' out.log) $(lines err.log)"

start view clip.mp4 --from 19 --max-speed
eventually "a clip that has ended stays" titled ", end"
ends "until it is closed" xdotool key q

start process clip.mp4 -o lost.mp4 --preview
eventually "it plays" titled "frames/s"
ends "a window destroyed by others counts as closed" xdotool windowclose "$window"
expect "and what was written until then can be read" "1" "$(($(frames lost.mp4) > 1 && $(frames lost.mp4) < 500))"

finish
