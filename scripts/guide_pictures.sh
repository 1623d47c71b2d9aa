#!/bin/bash
# guide_pictures.sh [BUILD_FOLDER]: makes the pictures of docs/guide anew, with the tool and the library of the build
# folder (default: build/linux), on the software renderer, so that they are the same on every machine.
set -eu
cd "$(dirname "$0")/.."
source scripts/common.sh
install_packages build run pictures
build=$(realpath "${1:-build/linux}")
images=$PWD/docs/guide/images
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
unset DISPLAY WAYLAND_DISPLAY
export LIBGL_ALWAYS_SOFTWARE=1 QVG_LOG_LEVEL=error

qvg() { "$build/qvg" process "$@" --overwrite --quiet; }

# The pictures start from a frame of the tool's own clip, unchanged, and from that clip's background.
all_off=(--no-enable-key --no-enable-beauty --no-enable-color --no-enable-bg)
cd "$work"
mkdir -p "$images"
qvg -o frame.png --size 1280x720 --from 2 --frames 1 "${all_off[@]}"
qvg -o dusk.png --size 1280x720 --frames 1 --similarity 1000
convert -size 1280x720 gradient:'#f4efe4'-'#8fb3d9' plain.png
convert -size 24x24 \( xc:'#b4b4b4' xc:'#dcdcdc' +append \) \( xc:'#dcdcdc' xc:'#b4b4b4' +append \) -append tile.png
convert -size 1280x720 tile:tile.png -depth 8 checks.png

# strip NAME CROP LABEL FILE...: files side by side, cropped, each with its label below.
width=300
strip() {
  local name=$1 crop=$2 cells=()
  shift 2
  while (($#)); do
    convert "$2" -crop "$crop" +repage -resize "${width}x" \
      \( -background white -fill '#222' -font DejaVu-Sans -pointsize 13 -gravity center -size "${width}x24" \
      "caption:$1" \) -append "cell$#.png"
    cells+=("cell$#.png")
    shift 2
  done
  convert "${cells[@]}" -background white -splice 4x0 +append -strip -quality 86 "$images/$name.jpg"
}

# parameter NAME CROP "OPTIONS" VALUE...: the frame with the effect's parameter at each of the values.
parameter() {
  local name=$1 crop=$2 options=$3 value cells=()
  shift 3
  for value in "$@"; do
    # shellcheck disable=SC2086
    qvg frame.png -o "$name$value.png" $options "--${name/_/-}" "$value"
    cells+=("$name $value" "$name$value.png")
  done
  strip "effect-$name" "$crop" "${cells[@]}"
}

screen="--color #22aa41" over="--background checks.png"
figure=800x600+300+120 face=320x240+410+230 edge=240x180+560+260
parameter color "$figure" "--similarity 155 --smoothness 50 --anti-spill 75 $over" '#22aa41' '#24468f' '#e0a888'
parameter similarity "$figure" "$screen --smoothness 50 --anti-spill 75 $over" 30 155 260
parameter smoothness "$edge" "$screen --similarity 120 --anti-spill 75 $over" 1 50 200
parameter anti-spill "$edge" "$screen --similarity 155 --smoothness 1 $over" 1 75 400
parameter bgfile "$figure" "$screen --similarity 155 --smoothness 50 --anti-spill 75" dusk.png plain.png checks.png
parameter whitten "$face" "" 0 50 100
parameter blur "$face" "" 0 50 100
parameter bright "$figure" "" -50 0 50
parameter temperature "$figure" "" -60 0 60
parameter shadow "$figure" "" 0 50 100

width=200
switches=(frame.png)
for options in "$screen --similarity 155 --smoothness 50 --anti-spill 75 $over" "--blur 60 --whitten 60" \
  "--temperature -30 --bright 20" "--bgfile dusk.png"; do
  with="${with-} $options"
  # shellcheck disable=SC2086
  qvg frame.png -o "switches${#switches[@]}.png" $with
  switches+=("switches${#switches[@]}.png")
done
strip effect-switches "$figure" "all off" "${switches[0]}" "enable_key" "${switches[1]}" "+ enable_beauty" \
  "${switches[2]}" "+ enable_color" "${switches[3]}" "+ enable_bg" "${switches[4]}"

# ---- What lies in memory, by a program of its own.

cc -std=c99 -O2 -I "$OLDPWD/include" -I "$build/include/qvGLRenderer" "$OLDPWD/scripts/guide_pictures.c" -o pictures \
  -L "$build" -lqvGLRenderer "-Wl,-rpath,$build" -lm
convert frame.png -resize 640x360 frame.ppm
./pictures frame.ppm .
all=640x360+0+0
width=220
strip orientation-upload "$all" "RGBA" upload-rgba.ppm "RGBA, flip" upload-rgba-flip.ppm \
  "NV12 (luma)" upload-nv12.ppm "NV12, mirror" upload-nv12-mirror.ppm
strip orientation-effect "$all" "RGBA" effect-rgba.ppm "RGBA, flip" effect-rgba-flip.ppm \
  "NV12 (luma)" effect-nv12.ppm
strip orientation-draw "$all" "an upload" drawn-upload.ppm "an effect's result" drawn-effect.ppm \
  "the same, scale[1] = -1" drawn-effect-turned.ppm
width=300
strip alpha "64x48+404+150" "drawn by the library" alpha-drawn.ppm "blended as premultiplied" alpha-premultiplied.ppm \
  "blended as straight" alpha-straight.ppm
strip range "400x300+150+60" "the picture" frame.ppm "limited range, as it is" range-limited.ppm \
  "expanded to full range" range-expanded.ppm
