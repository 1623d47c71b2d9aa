#!/bin/bash
# performance.sh [PEERS]: measures, and writes the figures into docs/performance.md between its two marks.
# PEERS, or QVG_PEERS in the environment, is a folder with a run.sh that measures other programs and prints rows of
# work, size, program, milliseconds, four more figures and milliseconds of CPU: the best "limit/" row of a work is its
# floor, its "gst/gl" row GStreamer's. It runs in a copy, and installs what it needs.
set -eu
cd "$(dirname "$0")/.."
peers=${1:-${QVG_PEERS:-}}
rounds=${ROUNDS:-3}
page=docs/performance.md
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
headless=(env -u DISPLAY -u WAYLAND_DISPLAY)
load=$(cut -d " " -f 1 /proc/loadavg)

cmake --preset linux >/dev/null
cmake --build build/linux --target qvg_bench
"${headless[@]}" build/linux/qvg_bench --count --table="$work/counts"
"${headless[@]}" build/linux/qvg_bench --table="$work/times"

# In turns, so that a machine that slows down affects all of them.
touch "$work/other" "$work/own"
if [[ $peers ]]; then
  cp -r "$peers" "$work/peers"
  for ((round = 0; round < rounds; ++round)); do
    "${headless[@]}" build/linux/qvg_bench --benchmark_filter='^[ABCD]/1920' --benchmark_repetitions=3 \
      --table="$work/round"
    cat "$work/round" >>"$work/own"
    (cd "$work/peers" && "${headless[@]}" ROUNDS=1 ./run.sh) | tee -a "$work/other"
  done
fi

figures() {
  awk -F '\t' -v rounds="$rounds" -v counts="$work/counts" -v own="$work/own" -v other="$work/other" '
    function median(text,   values, n, i, j, swap) {
      n = split(text, values, " ")
      for (i = 1; i <= n; ++i)
        for (j = i + 1; j <= n; ++j)
          if (values[j] + 0 < values[i] + 0) { swap = values[i]; values[i] = values[j]; values[j] = swap }
      return n % 2 ? values[(n + 1) / 2] : (values[n / 2] + values[n / 2 + 1]) / 2
    }
    function ratios(wall, cpu, most) {
      return sprintf("%.2f / %.2f", wall, cpu) (most > 0 ? sprintf(" (%.2f)", most) : "")
    }
    # The library beside others: kind is "floor" or "gst".
    function beside(work, kind,   key) {
      key = kind SUBSEP work
      if (!(key in least_wall) || !(work in own_wall)) return "-"
      return ratios(median(own_wall[work]) / least_wall[key], median(own_cpu[work]) / least_cpu[key], most[key])
    }
    BEGIN {
      split("A 1.65 B 2.1 C 2.4 D 1.15", pairs, " ")
      for (i = 1; i in pairs; i += 2) most["floor", pairs[i]] = pairs[i + 1]
      split("A 0.40 B 0.58 C 0.58 D 0.25", pairs, " ")
      for (i = 1; i in pairs; i += 2) most["gst", pairs[i]] = pairs[i + 1]
      while ((getline line < own) > 0) {
        split(line, cell, "\t")
        if (cell[1] == "driver") continue
        own_wall[cell[1]] = own_wall[cell[1]] " " cell[4]
        own_cpu[cell[1]] = own_cpu[cell[1]] " " cell[5]
      }
      while ((getline line < other) > 0) {
        split(line, cell, " ")
        if (cell[2] != "1920x1080" || cell[3] !~ /^(limit\/|gst\/gl)/) continue
        key = (cell[3] ~ /^limit/ ? "floor" : "gst") SUBSEP cell[1]
        row = key SUBSEP cell[3]
        key_of[row] = key
        walls[row] = walls[row] " " cell[4]
        cpus[row] = cpus[row] " " cell[8]
      }
      for (row in walls) {
        key = key_of[row]
        wall = median(walls[row])
        cpu = median(cpus[row])
        if (!(key in least_wall) || wall < least_wall[key]) least_wall[key] = wall
        if (!(key in least_cpu) || cpu < least_cpu[key]) least_cpu[key] = cpu
        others = 1
      }
    }
    $1 == "driver" { driver = $2; version = $3; next }
    $1 ~ /^T/ {
      if (one == "") { one = $4; bare_one = $6 }
      scaling = scaling sprintf("| %s | %.1f (%.2f) | %.1f (%.2f) |\n", $2, 1000 / $4, one / $4, 1000 / $6,
        bare_one / $6)
      next
    }
    {
      rows = rows "| " $1 "  " $2 ", " $3 " | " sprintf("%.2f / %.2f", $4, $5) " | " ratios($4 / $6, $5 / $7, $8) " |"
      if (others) rows = rows ($3 == "1920 x 1080" ? " " beside($1, "floor") " | " beside($1, "gst") " |" : " - | - |")
      rows = rows "\n"
    }
    END {
      print ""
      print "Measured with OpenGL renderer: " driver ", version " version "."
      if (driver ~ /llvmpipe|softpipe|SWR/) print "No GPU was measured: this renderer is software."
      print ""
      print "| frame | ms / CPU ms | to bare GL |" (others ? " to the floor | to GStreamer GL |" : "")
      print "|---|---|---|" (others ? "---|---|" : "")
      print rows
      if (!others) print "The comparison with other programs was not run.\n"
      print "Frames a second, and how many times those of one thread:\n"
      print "| contexts | library | bare GL |"
      print "|---|---|---|"
      print scaling
      print "Calls of one operation of a steady frame, one context at work: GL calls / of them `glGetError` / calls that"
      print "make or delete objects / fences, flushes and waits / heap allocations of the calling thread.\n"
      print "| operation | counted | at most |"
      print "|---|---|---|"
      while ((getline line < counts) > 0) {
        split(line, cell, "\t")
        print "| " cell[1] " | " cell[2] " | " cell[3] " |"
      }
      print ""
    }' "$work/times"
}

{
  sed '/^<!-- figures -->$/q' "$page"
  echo
  echo "$(date -u +%F), commit $(git rev-parse --short HEAD)," \
    "$(lscpu | sed -n 's/^Model name: *//p' | head -n 1), $(nproc) cores, load $load when it began."
  figures
  sed -n '/^<!-- end of the figures -->$/,$p' "$page"
} >"$work/page"
cp "$work/page" "$page"
echo "Written: $page"
