#!/bin/bash
# The tool without FFmpeg's libraries, at home or under an emulator. Arguments: path of qvg, and the emulator.
# shellcheck disable=SC2086 source=tests/product/tool_checks.sh
if [[ ! ${DISPLAY-} ]]; then
  exec xvfb-run -a -s "-screen 0 1024x768x24 -nolisten tcp -noreset" "$0" "$@"
fi
source "$(dirname "$0")/tool_checks.sh"
emulator=${2-} program=$qvg tool=
export LC_ALL=C.UTF-8 # Wine reads file names by it.
trap '[[ $tool ]] && kill "$tool" 2>/dev/null; rm -rf "$dir"' EXIT
printf '#!/bin/bash\nexec %s "%s" "$@"\n' "$emulator" "$program" >qvg
chmod +x qvg
qvg=$PWD/qvg

# ---- Images: red and green above blue and white

quarters="color=red:size=200x100,format=rgb24,drawbox=x=100:w=100:h=50:color=0x00ff00:t=fill"
quarters+=",drawbox=y=50:w=100:h=50:color=blue:t=fill,drawbox=x=100:y=50:w=100:h=50:color=white:t=fill"
make -f lavfi -i "$quarters" -frames:v 1 quarters.png
make -i quarters.png -q:v 2 -pix_fmt yuvj444p quarters.jpg
cp quarters.png "Größe 日本.png"
make -f lavfi -i color=0x204060:size=64x64 -frames:v 1 behind.png
while IFS='|' read -r name input output options points wanted; do
  "$qvg" process "$input" -o "$output" $options >/dev/null 2>&1
  near "$name" 3 "$wanted" "$(rgba "$output" $points)"
done <<'ROWS'
PNG as it is|quarters.png|a.png||10:10 190:10 10:90 190:90|255 0 0 255 0 255 0 255 0 0 255 255 255 255 255 255
JPEG in, BMP out|quarters.jpg|a.bmp||10:10 190:10|255 0 0 255 0 255 0 255
JPEG out|quarters.png|a.jpg|--quality 1|10:10 10:90|254 0 0 255 0 0 254 255
turned, over an image|quarters.png|b.png|--rotate 180 --scale 0.5 --background behind.png|5:5 60:35 140:65|32 64 96 255 255 255 255 255 255 0 0 255
keyed, transparent|quarters.png|c.png|--key 0x00ff00 --similarity 100|10:10 150:20|255 0 0 255 0 0 0 0
fitted into a size|quarters.png|d.png|--size 100x100|50:10 20:40 80:60|0 0 0 0 255 0 0 255 255 255 255 255
names of other letters|Größe 日本.png|Ausgabe ä.png||10:10|255 0 0 255
numbered out|quarters.png|n%02d.png||10:10|255 0 0 255
ROWS

# ---- Y4M through pipes, as ffmpeg gives and takes it: colours, rate, shape and number stay

colours() {
  make -i "$1" -frames:v 1 -vf "scale=in_color_matrix=$2,format=rgb24" "$1.png" && rgba "$1.png" 40:40 280:40 40:140
}
while read -r format size matrix range; do
  boxes="drawbox=x=160:w=iw:color=0x20a040:t=fill,drawbox=y=100:h=200:w=160:color=0x3030c0:t=fill"
  make -f lavfi -i "color=0xc04020:size=$size:rate=30000/1001:d=0.2,format=rgb24,$boxes" \
    -vf "setsar=4/3,scale=out_color_matrix=$matrix:out_range=$range" -pix_fmt $format -color_range $range -strict -1 \
    -f yuv4mpegpipe in.y4m
  "$qvg" process - -o - <in.y4m 2>out.log >out.y4m
  near "$format $size $range: colours" 4 "192 64 32 255 32 160 64 255 48 48 192 255" "$(colours out.y4m $matrix)"
  expect "$format $size $range: stream" "30000/1001,4:3,6" \
    "$(probe -count_frames -show_entries stream=r_frame_rate,sample_aspect_ratio,nb_read_frames out.y4m |
      awk -F, '{ print $2 "," $1 "," $3 }')"
done <<'ROWS'
yuv420p 320x180 bt601 tv
yuv420p 1280x720 bt709 tv
yuv422p 320x180 bt601 tv
yuv444p 320x180 bt601 pc
yuv420p10le 320x180 bt601 tv
ROWS
"$qvg" process quarters.png in.y4m -o both.y4m >/dev/null
expect "an image, then a clip" 130 "$(frames both.y4m)"
"$qvg" process in.y4m -o late.png --from 0.1 --no-deinterlace >/dev/null
expect "and one frame from the middle" "320,180" "$(probe -show_entries stream=width,height late.png)"

# ---- What it can't do, or should not

make -i in.y4m -vf setfield=tff -pix_fmt yuv420p fields.y4m
head -c 200000 in.y4m >short.y4m
head -c 300 quarters.png >short.png
while IFS='|' read -r name code said arguments; do
  "$qvg" process $arguments >out.log 2>&1
  expect "$name: exit code" "$code" $?
  grep -q -- "$said" out.log
  verdict "$name: said" $? "$(<out.log)"
done <<'ROWS'
an encoder|2|--codec: this build|quarters.png -o x.y4m --codec libx264
a capture|2|--capture: this build|--capture v4l2:/dev/video0 -o x.y4m
another container|1|try .y4m or .png|quarters.png -o x.mp4
two fields|1|--no-deinterlace keeps|fields.y4m -o x.y4m
half a picture|1|damaged: reading ended after 1 frames|short.y4m -o short.out.y4m
half an image|1|short.png: damaged|short.png -o x.png
no file|1|none.png: no such file|none.png -o x.png
ROWS
expect "what was whole is written" 1 "$(frames short.out.y4m)"

# ---- Ctrl-C

"$qvg" process - -o stopped.y4m >out.log 2>&1 \
  < <(exec ffmpeg -nostdin -v quiet -re -f lavfi -i testsrc2=size=320x180 -f yuv4mpegpipe -) &
tool=$!
grown() { [[ $(stat -c %s stopped.y4m 2>/dev/null || echo 0) -gt 300000 ]]; }
within 200 grown
kill -INT "$tool"
wait "$tool"
expect "Ctrl-C: exit code" 130 $?
tool=
grep -q "interrupted: stopped.y4m holds" out.log
verdict "Ctrl-C: said" $? "$(<out.log)"
((($(stat -c %s stopped.y4m) - $(head -n 1 stopped.y4m | wc -c)) % (320 * 180 * 3 / 2 + 6) == 0))
verdict "Ctrl-C: whole pictures" $?

# ---- A window

"$qvg" view "Größe 日本.png" --key 0x00ff00 --similarity 100 >out.log 2>&1 </dev/null &
tool=$! window=
found() {
  window=$(xdotool search --name '^qvg: Größe' 2>/dev/null | tail -n 1)
  [[ $window ]] && xdotool windowfocus "$window" 2>/dev/null
}
# shows COLOUR COLOUR: in the upper left and the upper right of the window, which Wine gives a title of its own.
shows() {
  [[ $window ]] && import -window "$window" window.png 2>/dev/null || return 1
  local at colors=
  for at in 20+35 180+35; do colors+=$(convert window.png -crop "1x1+$at" -depth 8 rgb:- | od -An -tx1 | tr -d ' '); done
  [[ $colors == "$1$2" ]]
}
within 200 found
verdict "a window, its name in other letters" $? "$(<out.log)"
within 100 shows ff0000 000000
verdict "shows the picture, keyed" $?
xdotool key f
within 100 shows 0000ff ffffff
verdict "f turns it upside down" $?
xdotool key q
ended() { ! kill -0 "$tool" 2>/dev/null; }
within 100 ended
kill "$tool" 2>/dev/null
wait "$tool"
expect "q ends it" 0 $?
tool=

# ---- Alone

if [[ $emulator ]]; then
  others=$(objdump -p "$program" | awk '/DLL Name:/ { print tolower($3) }'  |
    grep -v -x -E '(advapi32|kernel32|msvcrt|user32|gdi32|shell32|opengl32|qvglrenderer)\.dll')
  expect "needs no DLL but the system's and the library" "" "$others"
fi
finish
