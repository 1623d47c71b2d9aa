#!/bin/bash
# compare_plugin.sh [ROUNDS]: CPU seconds of the plugin's elements and of GStreamer's GL elements in the same place of a
# pipeline, in turns: 720p NV12 from a file, memory in, memory out. Expects what ./test has built, Xvfb, and the packages
# of the group gstreamer and gstreamer1.0-gl. Their pictures are not the same: glalpha judges each pixel alone, and
# glcolorbalance works otherwise than the effect.
set -eu
cd "$(dirname "$0")/.."
source scripts/test_parts.sh
rounds=${1:-3} frames=150
work=$(mktemp -d)
start_xvfb
trap 'stop_xvfb; rm -rf "$work"' EXIT
run=("${with_x[@]}" "${mesa_only[@]}" GST_GL_PLATFORM=egl "GST_PLUGIN_PATH=$PWD/build/linux/gstreamer"
  "GST_REGISTRY=$work/registry" XDG_RUNTIME_DIR="$work" gst-launch-1.0 -q)

for clip in "large smpte 1280 720" "small ball 640 360"; do
  read -r name pattern width height <<<"$clip"
  "${run[@]}" videotestsrc pattern="$pattern" num-buffers="$frames" \
    ! video/x-raw,format=NV12,width="$width",height="$height" ! filesink location="$work/$name"
done
large="filesrc location=$work/large blocksize=1382400 ! rawvideoparse format=nv12 width=1280 height=720 framerate=30/1"
small="filesrc location=$work/small blocksize=345600 ! rawvideoparse format=nv12 width=640 height=360 framerate=30/1"
nv12="video/x-raw,format=NV12 ! fakesink sync=false"
rgba="video/x-raw,format=RGBA ! fakesink sync=false"
up="glupload ! glcolorconvert" down="glcolorconvert ! gldownload"

# What is done, by the plugin, by the GL elements.
rows=(
  "colour, NV12" "$large ! qvgeffect bright=10 ! $nv12" "$large ! $up ! glcolorbalance brightness=0.1 ! $down ! $nv12"
  "key, RGBA" "$large ! qvgeffect color=65280 similarity=100 ! $rgba" "$large ! $up ! glalpha method=green ! gldownload ! $rgba"
  "picture in picture, NV12"
  "qvgcompositor name=mix sink_1::xpos=600 sink_1::ypos=300 sink_1::opacity=0.8 ! $nv12 $large ! queue ! mix.sink_0 $small ! queue ! mix.sink_1"
  "glvideomixer name=mix sink_1::xpos=600 sink_1::ypos=300 sink_1::alpha=0.8 ! $down ! $nv12 $large ! queue ! $up ! mix.sink_0 $small ! queue ! $up ! mix.sink_1"
  "key over a clip, NV12"
  "qvgcompositor name=mix ! $nv12 $small ! queue ! mix.sink_0 $large ! qvgeffect color=65280 similarity=100 ! queue ! mix.sink_1"
  "glvideomixer name=mix ! $down ! $nv12 $small ! queue ! $up ! mix.sink_0 $large ! $up ! glalpha method=green ! queue ! mix.sink_1"
)

# cpu PIPELINE: its CPU seconds.
cpu() {
  local TIMEFORMAT='%U %S'
  # Words of the pipeline are words of the command.
  # shellcheck disable=SC2086
  { time "${run[@]}" $1 2>/dev/null; } 2>&1 | tail -n 1 | awk '{ print $1 + $2 }'
}

for ((row = 0; row < ${#rows[@]}; row += 3)); do
  for ((round = 1; round <= rounds; ++round)); do
    echo "$(cpu "${rows[row + 1]}") $(cpu "${rows[row + 2]}")"
  done | awk -v name="${rows[row]}" -v frames="$frames" '{ own += $1; other += $2 } END {
    printf "%-26s plugin %5.1f ms a frame, GL elements %5.1f: %.2f\n", name, own * 1000 / frames / NR,
           other * 1000 / frames / NR, own / other }'
done
