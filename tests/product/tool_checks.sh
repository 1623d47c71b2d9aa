# Sourced by the checks of the command-line tool with its path: makes an empty folder to work in, and counts.
# shellcheck shell=bash disable=SC2034
set -u
qvg=$(realpath "$1")
dir=$(mktemp -d)
trap 'rm -rf "$dir"' EXIT
cd "$dir" || exit 1
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
# within TENTHS COMMAND...: the command succeeds within that many tenths of a second.
within() {
  local tries
  for ((tries = 0; tries < $1; ++tries)); do
    "${@:2}" && return
    sleep 0.1
  done
  return 1
}
finish() {
  echo "$passed passed, $failed failed"
  ((failed == 0))
}

make() { ffmpeg -nostdin -v error -y "$@"; }
probe() { ffprobe -v error -of csv=p=0 "$@"; }
frames() { probe -count_frames -select_streams v -show_entries stream=nb_read_frames "$1" | tr -d ','; }
lines() { wc -l <"$1"; }

# rgba FILE X:Y...: the pixels' channels.
rgba() {
  local point
  for point in "${@:2}"; do
    ffmpeg -nostdin -v error -i "$1" -frames:v 1 -vf "format=rgba,crop=1:1:$point" -f rawvideo -
  done | od -An -v -tu1 | xargs
}
# near NAME LIMIT WANTED GOT: numbers, each off by the limit at most.
near() {
  awk -v w="$3" -v g="$4" -v limit="$2" 'BEGIN{n = split(w, a); if (split(g, b) != n) exit 1
    for (i = 1; i <= n; ++i) if (a[i] - b[i] > limit || b[i] - a[i] > limit) exit 1}'
  verdict "$1" $? "wanted $3, got $4"
}
