#!/bin/bash
# Runs the examples from the help and from the README, verbatim, and measures their pictures. Arguments: path of qvg,
# README.md.
# shellcheck disable=SC2086 source=tests/product/tool_checks.sh
readme=$(realpath "$2")
source "$(dirname "$0")/tool_checks.sh"
unset DISPLAY WAYLAND_DISPLAY

# The media that they name: four quarters, a person before a screen, and a beach.
box() { echo "drawbox=x=$1:y=$2:w=$3:h=$4:color=$5:t=fill"; }
quarters="color=0xC82828:size=320x180:rate=10,format=rgb24,$(box 160 0 160 90 0x28A028),$(box 0 90 160 90 0x2828C8)"
quarters+=",$(box 160 90 160 90 0xC8C828)"
red="200 40 40" green="40 160 40" blue="40 40 200" yellow="200 200 40"
sky="90 150 220" sand="220 190 130" skin="200 120 90" gray="128 128 128"
make -f lavfi -i "$quarters" -t 0.5 -c:v libx264 -crf 4 clip.mp4
make -i clip.mp4 -c copy clip.mkv
make -i clip.mp4 -frames:v 1 -q:v 1 photo.jpg
make -f lavfi -i "color=0x23A844:size=320x180:rate=10,format=rgb24,noise=alls=6:allf=t,$(box 120 40 80 140 0xC8785A)" \
  -t 0.5 -c:v libx264 -crf 4 screen.mp4
make -f lavfi -i "color=0x5A96DC:size=320x180,format=rgb24,$(box 0 90 320 90 0xDCBE82)" -frames:v 1 -q:v 1 beach.jpg
make -i beach.jpg title.png
make -i clip.mp4 -c copy first.mp4
make -i screen.mp4 -c copy second.mov
make -i screen.mp4 -c copy second.mp4

# Words of an example, of which the first match counts; its output; the colours at points of it, and at a time.
all="80:45 240:45 80:135 240:135"
shown="$red $green $blue $yellow"
around="4:20 316:60 4:170 160:110 130:60"
on_beach="$sky $sky $sand $skin $skin"
titled="160:45 160:135 80:45@5.2 240:135@5.2 160:110@5.7 4:20@5.7"
in_turn="$sky $sand $red $yellow $skin 35 168 68"
examples=(
  "--rotate 5 --background beach.jpg;out.mp4;2:6 318:174 110:60 220:60 100:125 210:125;$sky $sand $shown"
  "photo.jpg;out.png;160:150 480:150 160:330 480:330;$shown"
  "--key auto --background beach.jpg --blur;out.mp4;$around;$on_beach"
  "yuv4mpegpipe;out.mp4;$all;$shown"
  "| ffplay -;played.mkv;$around;$gray $gray $gray $skin $skin"
  "second.mp4 -o out.mp4;out.mp4;$titled;$in_turn"
  "second.mov -o both.mp4;both.mp4;$titled;$in_turn"
  "tune screen.mp4;tune.png;;"
  "clip.mp4 -o out.mp4;out.mp4;$all;$shown"
)

qvg() { "$qvg" "$@"; }
ffplay() { cat >played.mkv; }
run=0
while read -r line; do
  # Two blanks separate the explanation.
  line=${line%%  *} && line=${line/build\/linux\//}
  for row in "${examples[@]}"; do
    IFS=';' read -r part output points wanted <<<"$row"
    [[ $line == *"$part"* ]] && break
    output=
  done
  [[ $output ]]
  verdict "known: $line" $? || continue
  rm -f out.* both.* played.mkv tune.png
  (set -o pipefail && eval "$line") </dev/null >out.log 2>&1 && [[ -s $output ]]
  verdict "runs: $line" $? "$(tail -n 1 out.log)"
  got=$(for point in $points; do
    [[ $point == *@* ]] || point+=@0
    make -ss "${point#*@}" -i "$output" -frames:v 1 -update 1 at.png
    rgba at.png "${point%@*}" | cut -d' ' -f1-3
  done | xargs)
  [[ ! $points ]] || near "$line" 24 "$wanted" "$got"
  ((++run))
done < <("$qvg" process --help | grep -E '^  (qvg|ffmpeg) '; grep -E '^build/linux/qvg (process|tune) ' "$readme")
((run >= 9))
verdict "$run examples" $?

finish
