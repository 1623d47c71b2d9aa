#!/bin/bash
# compare_composition.sh [ROUNDS]: CPU seconds of qvg and of a pipeline of GStreamer's GL elements (glalpha,
# glvideomixer) that key a 1080p clip over an image, in turns. Both decode H.264 and give NV12 frames, which qvg writes
# to a file and the pipeline drops. Expects what ./test has built, ffmpeg, Xvfb, and the packages
# gstreamer1.0-{gl,libav,tools} and gstreamer1.0-plugins-{base,good}.
set -eu
cd "$(dirname "$0")/.."
. scripts/test_parts.sh
rounds=${1:-3} frames=120
work=$(mktemp -d)
start_xvfb
trap 'stop_xvfb; rm -rf "$work"' EXIT
run=("${with_x[@]}" "${mesa_only[@]}")

# The tool's own clip: somebody waves in front of a green screen.
"${run[@]}" build/linux/qvg process -o "$work/clip.mp4" --size 1920x1080 --no-enable-key --no-enable-beauty \
  --frames "$frames" --no-sound --sheet "$work/sheet.png" >/dev/null
ffmpeg -v error -f lavfi -i mandelbrot=s=1920x1080 -frames:v 1 -q:v 2 "$work/behind.jpg"

ours() {
  "${run[@]}" build/linux/qvg process "$work/clip.mp4" -o "$work/ours.nut" --codec rawvideo --key '#18a03c' \
    --similarity 155 --smoothness 50 --anti-spill 75 --background "$work/behind.jpg" >/dev/null
}
theirs() {
  local gl='video/x-raw(memory:GLMemory)'
  "${run[@]}" GST_GL_PLATFORM=egl gst-launch-1.0 -q glvideomixer name=mix sink_0::zorder=0 sink_1::zorder=1 ! \
    "$gl,width=1920,height=1080" ! glcolorconvert ! "$gl,format=NV12" ! gldownload ! video/x-raw,format=NV12 ! \
    fakesink sync=false \
    filesrc location="$work/behind.jpg" ! jpegdec ! videoconvert ! video/x-raw,format=RGBA ! \
    imagefreeze num-buffers="$frames" ! video/x-raw,framerate=25/1 ! glupload ! mix.sink_0 \
    filesrc location="$work/clip.mp4" ! qtdemux ! avdec_h264 ! glupload ! glcolorconvert ! \
    glalpha method=custom target-r=24 target-g=160 target-b=60 ! mix.sink_1 2>/dev/null
}
# cpu COMMAND...: its CPU seconds.
cpu() {
  local TIMEFORMAT='%U %S'
  { time "$@"; } 2>&1 | tail -n 1 | awk '{ print $1 + $2 }'
}

for ((round = 1; round <= rounds; ++round)); do
  own=$(cpu ours)
  other=$(cpu theirs)
  awk -v own="$own" -v other="$other" 'BEGIN { printf "qvg %.1f s, GStreamer %.1f s: %.2f\n", own, other, own / other }'
done
