#!/bin/bash
# Runs the command-line tool as a person would and examines its outputs. Argument: path of qvg.
# In tables, several options are one text.
# shellcheck disable=SC2046,SC2086 source=tests/product/tool_checks.sh
source "$(dirname "$0")/tool_checks.sh"
unset DISPLAY WAYLAND_DISPLAY

pixels() { ffmpeg -nostdin -v error -i "$1" -vf "$2" -f rawvideo -pix_fmt rgba - | md5sum; }
process() { "$qvg" process "$@" >out.log 2>err.log </dev/null; }

# refused STATUS ARGUMENT...: the status, one line on standard error, no file left as out.*.
refused() {
  local got
  "$qvg" "${@:2}" >out.log 2>err.log </dev/null
  got=$?
  [[ $got -eq $1 && $(lines err.log) -eq 1 && $(<err.log) == "qvg: "* && ! -e out.mp4 && ! -e out.png ]]
  verdict "refused: ${*:2}" $? "exit $got, $(<err.log)"
}

# difference A B [FILTER FOR A]: mean absolute difference of luma and chroma, the largest of the three.
difference() {
  ffmpeg -nostdin -v error -i "$1" -i "$2" -filter_complex \
    "[0]${3:-null},format=yuv420p,settb=AVTB,setpts=N[a];[1]format=yuv420p,settb=AVTB,setpts=N[b];
     [a][b]blend=all_mode=difference:shortest=1,signalstats,metadata=print:file=-" -f null - |
    awk -F= '/YAVG/{y+=$2; ++n} /UAVG/{u+=$2} /VAVG/{v+=$2}
             END{if (!n) {print 999; exit} m=y; if (u>m) m=u; if (v>m) m=v; printf "%.3f", m/n}'
}
# close NAME LIMIT A B [FILTER FOR A]
close() { near "$1" "$2" 0 "$(difference "${@:3}")"; }

# ---- Command line

expect "version" "qvg" "$("$qvg" --version | cut -d' ' -f1)"
expect "info" "4" \
  "$("$qvg" info | grep -Ec '^(Display .*EGL|Vendor +.|Renderer +.|OpenGL .*required 4\.2, found 4\.[0-9]: enough)')"
make -f lavfi -i "testsrc=size=161x121:rate=25" -frames:v 1 picture.png
make -f lavfi -i "testsrc2=size=320x240:rate=25" -f lavfi -i sine=440 -t 2 -c:v libx264 -crf 6 -c:a aac -shortest \
  -movflags +faststart clip.mp4
head -c 4000 /dev/urandom >noise.mp4
: >empty.mp4
refused 1 process <(make -f lavfi -i sine=440 -t 0.2 -f wav -) -o out.mp4
for row in {nothing.mp4,noise.mp4,empty.mp4,.}" -o out.mp4" "clip.mp4 -o missing/out.mp4" \
  "clip.mp4 -o out."{nonsense,"mp4 --background nothing.png","mp4 --bgfile nothing.png"} \
  "clip.mp4 -o ./clip.mp4" "clip.mp4 -o /dev/full --format mpegts"; do
  refused 1 process $row
done
for option in "--nonsense 1" "--scale big" "--scale -1" "--opacity 1.5" "--rotate x" "--size 10" "--size 0x5" \
  "--blend purple" "--background-color mud" "--key mud" "--blur 101" "--bright -101" "--blur x" "--frames 0" \
  "--quality 99" "--move 3" "--move nan,1" "--scale nan" "--from nan" "--from 2 --to 1" "--to 1 --duration 1" \
  --enable-bg; do
  refused 2 process clip.mp4 -o out.mp4 $option
done
for row in "" frobnicate "process clip.mp4"; do refused 2 $row; done
# What the line has to say.
for row in "--backgroud x;is --background meant" "--codec aac;aac is no video encoder" "--from 99;ends at 2.0" \
  "--preview;no display" "--sheet x --no-overwrite;picture.png exists"; do
  "$qvg" process clip.mp4 ${row%%;*} -o picture.png >out.log 2>err.log
  grep -q "${row#*;}" err.log
  verdict "told: ${row%%;*}" $? "$(<err.log)"
done

# ---- Images

make -f lavfi -i "testsrc=size=64x48,format=rgba,geq=r='r(X,Y)':g='g(X,Y)':b='b(X,Y)':a='mod(3*X+Y,256)'" \
  -frames:v 1 alpha.png
for image in picture.png alpha.png; do
  process "$image" -o same.png
  expect "$image comes back as it was" "$(pixels "$image" null)" "$(pixels same.png null)"
done
make -f lavfi -i "testsrc=size=100x100" -frames:v 1 square.png
# To the right and up, and clockwise.
for row in "--rotate 90;transpose=clock;null" "--rotate -90;transpose=cclock;null" \
  "--move 20,-30;crop=80:70:0:30;crop=80:70:20:0"; do
  IFS=';' read -r options from to <<<"$row"
  process square.png -o moved.png $options
  expect "$options" "$(pixels square.png "$from")" "$(pixels moved.png "$to")"
done
make -f lavfi -i "color=0xC82000:size=32x32,format=rgb24" -frames:v 1 red.png
for row in "--opacity 0.5 --background-color blue;100 16 128" "--blend screen --background-color 0x808080;228 144 128" \
  "--scale 0.1 --background-color 0x102030;16 32 48" "--bright 20;240 38 0"; do
  process red.png -o mixed.png ${row%%;*}
  near "${row%%;*}" 2 "${row#*;} 255" "$(rgba mixed.png 0:0)"
done

# ---- Effects

"$qvg" effects --json >effects.json
expect "effects, as text and as JSON" "15 15" "$("$qvg" effects | grep -Ec "^[a-z_-]+ +(integer|switch|file|colour) ") \
$(python3 -c "import json; print(len(json.load(open('effects.json'))[0]['parameters']))")"
screen="color=0x23A844:size=320x200,format=rgb24,noise=alls=6:allf=t"
make -f lavfi -i "$screen,drawbox=x=100:y=20:w=120:h=60:color=0xC8785A:t=fill" -frames:v 1 screen.png
make -f lavfi -i "color=red:size=100x100,format=rgb24,drawbox=y=50:h=50:w=100:color=blue:t=fill" -frames:v 1 halves.png
key="--key 0x23A844 --similarity 150 --anti-spill 60"
# Where the screen was, and the subject as it was.
for row in "--background-color 0x102030;16 32 48 255 16 32 48 255" "--background halves.png;255 0 0 255 0 0 255 255"; do
  process screen.png -o keyed.png $key ${row%%;*}
  near "keyed, ${row%%;*}" 8 "${row#*;} 200 120 90 255" "$(rgba keyed.png 5:5 5:195 160:50)"
done
# A picture of one colour that stays in part.
make -f lavfi -i "color=0xC8785A:size=64x48,format=rgb24" -frames:v 1 skin.png
part="--key 0x23A844 --similarity 1 --smoothness 600 --anti-spill 1"
process skin.png -o part.png $part
read -r r g b a <<<"$(rgba part.png 30:20)"
near "straight alpha, between none and all" 3 "200 120 90 255" "$r $g $b $((255 * (a > 40 && a < 200)))"
"$qvg" tune screen.png -o tune.png >tune.txt 2>err.log &&
  [[ $(probe -show_entries stream=width,height tune.png) =~ ^1[0-9]{3},[0-9]{3,4}$ ]]
verdict "tune and its sheet" $? "$(<err.log)"
# Finding the values: for a still, for a clip in which somebody appears late, from a pipe, for a colour's name.
make -f lavfi -i "color=0x2A9D3C:size=320x200:rate=10,noise=alls=8:allf=t,
  drawbox=x=100:y=20:w=120:h=180:color=0xC8785A:t=fill:enable='gte(t,1)'" -t 2 -c:v libx264 -crf 8 late.mp4
for row in "screen.png $(tail -n 1 tune.txt)" "screen.png --key auto" "screen.png --key green" "late.mp4 --key auto" \
  "- --key auto" "screen.png --key auto --background-color 0x102030 --drop-shadow 0.5 --scale 0.9"; do
  ffmpeg -nostdin -v error -i late.mp4 -f yuv4mpegpipe - | "$qvg" process $row -o found.mkv >out.log 2>err.log
  make -sseof -0.15 -i found.mkv -frames:v 1 -update 1 found.png
  [[ $row == *color* ]] && under="16 32 48 255" || under="0 0 0 0"
  near "found: $row" 9 "$under 200 120 90 255" "$(rgba found.png 5:5 160:60)"
done
for key in red 0x060a06; do refused 1 process late.mp4 --key $key -o out.png; done
process screen.png -o odd.png --key 0x23A844 --similarity 1000
grep -q 'takes nearly all' err.log
verdict "a key that takes everything is told" $?
# The background fills the output, not the frame, and may move.
make -f lavfi -i "color=red:size=64x64:rate=10,drawbox=w=64:h=64:color=blue:t=fill:enable='gte(t,0.95)'" -t 2 moving.mp4
process late.mp4 -o moved.mp4 --key auto --background moving.mp4 --scale 0.3 --size 320x180
got=$(for at in 0.2 1.5; do ffmpeg -nostdin -v error -ss "$at" -i moved.mp4 -frames:v 1 -vf "crop=2:2:10:10,scale=1:1" \
  -f rawvideo -pix_fmt rgb24 -; done | od -An -v -tu1 | xargs)
near "a background that moves" 8 "253 0 0 0 0 253" "$got"

# Lower values mean better and larger with all encoders.
for file in q.jpg q.webm q.mp4; do
  for quality in 2 16 45; do process screen.png -o $file --quality $quality && stat -c %s $file; done | sort -nrc
  verdict "--quality of $file" $?
done

# ---- Clips

process -o own.mp4 --frames 6 --size 320x180
expect "own clip, its tags and its contact sheet" "0 6 320,180,tv,smpte170m 1" "$? $(frames own.mp4) $(probe \
  -select_streams v -show_entries stream=width,height,color_range,color_space own.mp4) \
$(($(probe -show_entries stream=width own-sheet.png) > 1100))"

make -f lavfi -i "testsrc2=size=1280x720:rate=25,gblur=3,scale=out_color_matrix=bt709:flags=accurate_rnd" -t 0.2 \
  -pix_fmt yuv420p -c:v libx264 -crf 4 hd.mp4
make -i hd.mp4 -c copy -bsf:v h264_metadata=matrix_coefficients=1:video_full_range_flag=0 tagged.mp4
make -f lavfi -i "testsrc2=size=320x240:rate=25,gblur=3,scale=out_range=full" -t 0.2 -pix_fmt yuvj420p -c:v libx264 \
  -crf 4 full.mp4
exact="flags=accurate_rnd+full_chroma_int+bilinear"
to601="scale=in_color_matrix=bt709:out_color_matrix=bt601:$exact"
for row in "own.mp4;" "hd.mp4;$to601" "tagged.mp4;$to601" "full.mp4;scale=$exact,format=rgb24,scale=$exact"; do
  clip=${row%%;*}
  process "$clip" -o back.mp4
  close "colours of $clip" 2 "$clip" back.mp4 "${row#*;}"
  # The library's sampling of planes softens the sharp lines of a test picture.
  process "$clip" -o back.mp4 --gpu-yuv
  close "colours of $clip with --gpu-yuv" 4 "$clip" back.mp4 "${row#*;}"
done
process hd.mp4 -o back.y4m
close "colours of hd.mp4 as Y4M, whose matrix is guessed" 2 hd.mp4 back.y4m

# A stream on standard output, and nothing else there; parts of a clip, and other rates.
"$qvg" process clip.mp4 -o - 2>err.log >piped
expect "-o -" "h264,50" "$(probe -select_streams v -count_frames -show_entries stream=codec_name,nb_read_frames piped)"
for row in "--from 0.5 --to 1.3;20" "--from 00:00:01.5;12" "--duration 0.4;10" "--fps 10;20" \
  "--fps 50 --duration 1;50"; do
  process clip.mp4 -o /dev/stdout --format mp4 ${row%%;*}
  expect "${row%%;*}" "${row#*;}" "$(frames out.log)"
done

process clip.mp4 -o sound.mp4
sound() { ffmpeg -nostdin -v error -i "$1" -map 0:a -c copy -f md5 -; }
times() { probe -select_streams "$2" -show_entries packet=pts_time "$1" | sort -n | md5sum; }
expect "sound is copied with its times, and all frames" "$(sound clip.mp4) $(times clip.mp4 a) $(frames clip.mp4)" \
  "$(sound sound.mp4) $(times sound.mp4 a) $(frames sound.mp4)"
process clip.mp4 -o cut.mkv --from 1 --frames 10
expect "--from and --frames, and sound that ends with them" "10 0.000000 1" "$(frames cut.mkv) $(probe \
  -select_streams v -show_entries packet=pts_time cut.mkv | head -n 1 | tr -d ',') $(probe \
  -show_entries format=duration cut.mkv | awk '{print ($1 < 0.5)}')"

make -f lavfi -i "testsrc2=size=160x120:rate=30" -t 1 -vf "select='not(mod(n,4))+gt(n,20)'" -vsync vfr \
  -video_track_timescale 90000 uneven.mp4
process uneven.mp4 -o uneven-out.mp4
expect "uneven times" "$(times uneven.mp4 v)" "$(times uneven-out.mp4 v)"
make -i uneven.mp4 -c copy -metadata:s:v rotate=90 turned.mp4
process turned.mp4 -o upright.png
close "rotation in the file" 8 turned.mp4 upright.png
"$qvg" process clip.mp4 -o quiet.mp4 --frames 2 --no-sound 2>err.log >out.log
expect "one summary line, nothing of the library's log; no sound" "1 0 h264" \
  "$(lines out.log) $(lines err.log) $(probe -show_entries stream=codec_name quiet.mp4)"

# ---- What goes along with the pictures

# together NAME LIMIT FILE: each beep comes with its flash.
together() {
  local seen
  seen=$(ffmpeg -nostdin -i "$3" -vf blackdetect=d=0.1:pix_th=0.3 -af silencedetect=-20dB:0.1 -f null - 2>&1)
  near "$1" "$2" "$(grep -o 'black_end:[0-9.]*' <<<"$seen" | cut -d: -f2 | head -n 3 | xargs)" \
    "$(grep -o 'silence_end: [0-9.]*' <<<"$seen" | cut -d' ' -f2 | head -n 3 | xargs)"
}
flash="color=black:size=160x120:rate=25,drawbox=w=160:h=120:color=white:t=fill:enable='between(mod(t,1),0.5,0.535)'"
make -f lavfi -i "$flash" -f lavfi -i "aevalsrc='if(between(mod(t,1),0.5,0.54),sin(6283*t))'" -t 4 -c:v libx264 -g 50 \
  -c:a aac flash.mp4
make -i flash.mp4 -c copy flash.ts
make -i flash.mp4 -c:v copy -c:a flac flash.mkv
make -i flash.mp4 -s 240x120 -r 50 -ar 22050 -ac 2 -c:a libmp3lame other.mp4
make -f lavfi -i "color=black:size=160x120:rate=25" -t 2 mute.mp4
for row in "flash.mp4 -o along.mp4;aac" "flash.mp4 -o along.mp4 --from 0.73;aac" \
  "flash.ts -o along.mp4 --from 0.73;aac" \
  "flash.mp4 -o along.webm --from 0.73;opus" "flash.mkv -o along.mp4;aac" "flash.mkv -o along.mkv --from 0.73;flac" \
  "flash.mp4 flash.mp4 -o along.mp4 --from 2.2;aac" "mute.mp4 other.mp4 -o along.mp4;aac" \
  "other.mp4 mute.mp4 flash.mp4 -o along.mp4 --from 2.2;aac"; do
  process ${row%%;*}
  file=$(grep -o 'along\.[a-z0-9]*' <<<"$row")
  together "together: ${row%%;*}" 0.045 "$file"
  expect "sound of ${row%%;*}" "${row#*;}" "$(probe -select_streams a -show_entries stream=codec_name "$file")"
done
process flash.mp4 -o along.mp4 --from 0.73
expect "both begin at 0" "0.000000 0.000000" "$(probe -show_entries stream=start_time along.mp4 | xargs)"

printf '1\n00:00:00,200 --> 00:00:01,500\nfirst\n\n2\n00:00:02,000 --> 00:00:03,000\nsecond\n' >text.srt
printf ';FFMETADATA1\ntitle=Whole\n[CHAPTER]\nTIMEBASE=1/10\nSTART=0\nEND=15\ntitle=A\n[CHAPTER]\nTIMEBASE=1/10
START=15\nEND=40\ntitle=B\n' >titles.txt
make -i flash.mp4 -i text.srt -i titles.txt -map 0 -map 1 -map_metadata 2 -c copy -c:s srt -metadata:s:a language=deu \
  -metadata:s:s language=fra titled.mkv
for row in "mp4;mov_text" "webm;webvtt" "mkv;subrip"; do
  file=titled-out.${row%%;*}
  process titled.mkv -o "$file" --from 1.04 --to 2.56
  expect "titles, chapters and subtitles in $file" "${row#*;} deu fra Whole A B 00:00:00,0 first 00:00:00,9 second" "$({
    probe -select_streams s:0 -show_entries stream=codec_name "$file"
    probe -show_entries stream_tags=language "$file" | grep -oE 'deu|fra'
    probe -show_entries format_tags=title "$file"
    probe -show_entries chapter_tags=title "$file"
    ffmpeg -nostdin -v error -i "$file" -map 0:s:0 -f srt - | sed -nE 's/^(..:..:..,[0-9])([0-9]*) .*/\1/p; /^[a-z]/p'
  } | xargs)"
done

# High dynamic range, and interlaced video. Grey, cyan and red bars.
bars="smptehdbars=size=320x180:rate=25,setparams=color_primaries=bt709:color_trc=bt709:colorspace=bt709:range=tv"
for transfer in smpte2084 arib-std-b67 bt2020-10; do
  make -f lavfi -i "$bars,format=yuv444p,zscale=t=linear:npl=203,format=gbrpf32le,
    zscale=p=bt2020:t=$transfer:m=bt2020nc:r=limited:npl=203,format=yuv420p10le" -frames:v 3 -c:v libx264 -crf 4 \
    -color_primaries bt2020 -color_trc $transfer -colorspace bt2020nc wide.mp4
  process wide.mp4 -o wide-out.mp4
  [[ $transfer == bt2020* ]] && tags=smpte170m,bt2020-10,bt2020 || tags=smpte170m,bt709,bt709
  expect "tags of $transfer" "$tags" \
    "$(probe -show_entries stream=color_space,color_transfer,color_primaries wide-out.mp4)"
  make -i wide-out.mp4 -vf zscale=p=bt709:t=bt709:m=bt709,format=gbrp -frames:v 1 wide.png
  near "colours of $transfer" 14 "102 102 102 255 188 188 188 255 0 188 188 255 188 0 0 255" \
    "$(rgba wide.png 20:40 60:40 120:40 225:40)"
done
make -f lavfi -i "color=gray:size=160x120:rate=50,drawbox=w=30:h=120:color=white:t=fill,scroll=h=-0.03" -t 1 -vf \
  tinterlace=interleave_top,setfield=tff -c:v libx264 -flags +ilme+ildct -x264opts tff=1 -crf 8 fields.mp4
# How much neighbouring lines differ.
combs() {
  ffmpeg -nostdin -v error -ss 0.5 -i "$1" -frames:v 1 -vf "format=gray,split[a][b];[a]crop=iw:ih-1:0:0[c];
    [b]crop=iw:ih-1:0:1[d];[c][d]blend=all_mode=difference,signalstats,metadata=print:file=-" -f null - |
    awk -F= '/YAVG/{print ($2 > 1); exit}'
}
process fields.mp4 -o whole.mp4
process fields.mp4 -o kept.mp4 --no-deinterlace
expect "two fields made one picture, and kept" "0 25 1 25" \
  "$(combs whole.mp4) $(frames whole.mp4) $(combs kept.mp4) $(frames kept.mp4)"

# Inputs one after the other, and numbered ones.
process mute.mp4 red.png -o row.mp4
make -sseof -0.2 -i row.mp4 -frames:v 1 -update 1 row.png
expect "a clip and an image, fitted" "175" "$(frames row.mp4)"
near "the image, and beside it" 4 "200 32 0 255 0 0 0 255" "$(rgba row.png 80:60 4:60)"
make -f lavfi -i "testsrc=size=64x48" -frames:v 12 -start_number 95 n%03d.png
process n%03d.png -o numbered.mp4 --fps 10
expect "numbered images" "12 1.200000" "$(frames numbered.mp4) $(probe -show_entries format=duration numbered.mp4)"
(ulimit -f 100 && process hd.mp4 own.mp4 -o large.ts --quality 0)
expect "a file that may not grow" "1 1 1" "$? $(lines err.log) $(($(frames large.ts 2>/dev/null | head -n 1) > 1))"

# ---- Ends that come too early

head -c $(($(stat -c %s clip.mp4) * 2 / 3)) clip.mp4 >torn.mp4
process torn.mp4 -o torn-out.mp4
expect "a torn file, and what came before the tear" "1 1 1" "$? $(lines err.log) $(($(frames torn-out.mp4) >= 20))"
"$qvg" process -o stopped.mp4 >out.log 2>err.log </dev/null &
tool=$!
within 100 test -e stopped.mp4
sleep 0.5
kill -INT $tool
wait $tool
expect "interrupted, with a clip that is readable" "130 1" "$? $(($(frames stopped.mp4) >= 1))"

finish
