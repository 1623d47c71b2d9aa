#!/bin/bash
# example_picture.sh PROGRAM ARGUMENTS POINTS [EMULATOR]: an example host writes its picture, and the picture has the
# wanted colours, each given as X:Y=R,G,B,A. In ARGUMENTS, OUTPUT stands for the picture, and INPUT for one to read: red
# on the left, a green screen on the right. Where a window is needed and there is no X server, one is started.
set -eu
if [[ $1 == *_host* && ! ${DISPLAY-} ]]; then
  exec xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp -noreset" "$0" "$@"
fi
program=$(realpath "$1")
read -ra arguments <<<"$2"
read -ra points <<<"$3"
run=(${4:+"$4"} "$program")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

convert -size 32x64 "xc:rgb(200,40,60)" "xc:rgb(35,168,68)" +append -depth 8 -set comment "a comment" in.ppm
arguments=("${arguments[@]/OUTPUT/out.pnm}")
"${run[@]}" "${arguments[@]/INPUT/in.ppm}"
failed=0
for point in "${points[@]}"; do
  place=${point%=*} wanted=${point#*=}
  got=$(convert out.pnm -crop "1x1+${place/:/+}" -depth 8 rgba:- | od -An -v -tu1 | xargs | tr ' ' ,)
  awk -F, -v wanted="$wanted" '{
    split(wanted, w, ",")
    for (i = 1; i <= 4; ++i) if (NF != 4 || $i - w[i] > 6 || w[i] - $i > 6) exit 1
  }' <<<"$got" || { echo "at $place: wanted $wanted, got $got"; failed=1; }
done
exit "$failed"
