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
sized() { [[ $(xdotool getwindowgeometry "$window") == *"Geometry: $1"* ]]; }
# differs FILE, same FILE: compares the window with an earlier shot.
differs() { shot now.png && ! cmp -s now.png "$1"; }
same() { shot now.png && cmp -s now.png "$1"; }
alike() { [[ $(compare -metric AE "$1" "$2" null: 2>&1) == 0 ]]; }
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
press 1 "1 switches the key on" titled "effect: key"
press F11 "F11 fills the screen" sized 1024x768
press Escape "Escape gives it back" sized 200x400
ends "Escape closes" xdotool key Escape

# ---- The effect's stages

for what in "process quarters.png -o keyed.png --preview" "view quarters.png"; do
  start $what --key 0x00ff00 --similarity 100 --bright -50
  eventually "the effect at work" shows 10,10 800000 190,10 $black 10,90 000080
  press 3 "3 switches colour off" shows 10,10 $red 190,10 $black 10,90 $blue
  press 1 "1 switches the key off" shows 10,10 $red 190,10 $green 10,90 $blue
  eventually "the title tells" titled "no effect"
  press 3 "and on again" shows 10,10 800000 190,10 008000
  ends "q ends it" xdotool key q
done

# ---- Trying values

cp quarters.png "the 'quarters'.png"
start view "the 'quarters'.png" --key 0x00ff00 --similarity 100 --bright -50
eventually "values from the command line" shows 10,10 800000 190,10 $black
xdotool key --delay 200 Down Down Down Down Down
press BackSpace "the fifth parameter is the exposure, its default 0" shows 10,10 $red 10,90 $blue
xdotool key shift+Left
press Left "and Left makes less of it" shows 10,10 e30000 10,90 0000e3
press b "b shows what came in on the left" shows 10,10 $red 90,40 $red 190,10 $black 110,60 e3e3e3
xdotool mousemove --window "$window" 100 50 mousedown 1 mousemove --window "$window" 40 50 mouseup 1
eventually "the mouse moves the line" shows 10,10 $red 90,10 e30000
press b "b leaves" shows 10,10 e30000
shot plain.png
press h "h covers the picture" differs plain.png
press h "and again shows it" same plain.png
press s "s saves it" test -s "the 'quarters'-effect.png"
press p "p prints its command" grep -q '^qvg process' out.log
ends "it closes" xdotool key q
eval "$(sed -n "s|^qvg \(process .*\)|'$qvg' \1|p" out.log | sed "s|-o '.*effect.png'|-o printed.png|")" >/dev/null
alike printed.png "the 'quarters'-effect.png"
verdict "which renders what was saved" $? "$(<out.log)"

start view quarters.png
eventually "no effect" shows 10,90 $blue
xdotool mousemove --window "$window" 10 90 click 1
eventually "a click keys its colour out" shows 10,90 $black 190,10 $green
ends "it closes" xdotool key q

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
press period "a point steps to another picture and stays paused" another
press space "space goes on" titled "frames/s"
ends "q closes" xdotool key q
expect "and the tool says so" "1 0" "$(grep -c '^window closed: closed.mp4' out.log) $(lines err.log)"

start view clip.mp4 --from 1
press space "a clip that is viewed" titled "paused"
for step in "Home 1.000" "Next 6.000" "comma 5.960" "Prior 1.000" "period 1.040" "shift+Next 19.960"; do
  read -r key time <<<"$step"
  xdotool key "$key" s
  eventually "after $key it is at $time s" test -s "clip-${time}s.png"
  "$qvg" process clip.mp4 --from "$time" -o there.png >/dev/null 2>&1
  alike there.png "clip-${time}s.png"
  verdict "and shows that frame" $?
done
ends "it closes" xdotool key q

start view clip.mp4 --from 19 --max-speed
eventually "a clip that has ended stays" titled ", end"
ends "until it is closed" xdotool key q

# ---- Sound, into a file in place of a device: a second without, two with, and one without again

make -f lavfi -i testsrc2=size=64x48:rate=25:duration=4 -f lavfi -i "sine=440:duration=2" -af "adelay=1000,apad" \
  -shortest sound.mkv
echo "pcm.!default { type file slave.pcm { type null } file \"$dir/heard.wav\" format wav }" >sound.conf
ALSA_CONFIG_PATH=$dir/sound.conf PULSE_SERVER=none start view sound.mkv
eventually "a clip with sound ends" titled ", end"
ends "it closes" xdotool key q
heard=$(ffmpeg -nostdin -i heard.wav -af silencedetect=noise=-30dB:duration=0.3 -f null - 2>&1 |
  sed -n 's/.*silence_\(end\|start\): \([0-9.]*\).*/\2/p' | xargs)
near "and is heard when it should be" 0.3 "0 1 3 4" "$heard"

start process clip.mp4 -o lost.mp4 --preview
eventually "it plays" titled "frames/s"
ends "a window destroyed by others counts as closed" xdotool windowclose "$window"
expect "and what was written until then can be read" "1" "$(($(frames lost.mp4) > 1 && $(frames lost.mp4) < 500))"

Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>second >/dev/null 2>&1 </dev/null &
second=$!
within 50 test -s second
DISPLAY=:$(<second)
start process clip.mp4 -o orphan.mp4 --preview
eventually "it plays" titled "frames/s"
ends "so does one whose X server goes" kill -KILL "$second"
expect "and leaves what can be read" "1" "$(($(frames orphan.mp4) > 1 && $(frames orphan.mp4) < 500))"

finish
