#!/bin/bash
# The tool's self-test: it passes here, tells faults by their names, and writes what scripts and reports need.
# Arguments: path of qvg, and of a driver with faults (faultyDriver_egl.cpp).
# shellcheck disable=SC2086 source=tests/product/tool_checks.sh
faulty=$(realpath "$2")
source "$(dirname "$0")/tool_checks.sh"
unset DISPLAY WAYLAND_DISPLAY QVG_CONTEXT
export LIBGL_ALWAYS_SOFTWARE=1

# selftest EXIT ARGUMENT...: its exit code; the output is left in out.log.
selftest() {
  "$qvg" selftest "${@:2}" >out.log 2>err.log
  local got=$?
  [[ $got -eq $1 && $(lines err.log) -eq 0 ]]
  verdict "exit $1: ${*:2}" $? "$got, $(tail -n 3 out.log err.log)"
}
# json EXPRESSION: its value for the document in out.log.
json() { python3 -c 'import json, sys; d = json.load(open("out.log")); print(eval(sys.argv[1]))' "$1" 2>&1; }

selftest 0 --report report.txt
expect "no check failed" 0 "$(grep -c FAILED out.log)"
for part in Versions Environment Platform Driver Limits Checks "The library's log" "Extensions of the driver" PASSED; do
  grep -q -- "^\(---- \)\?$part" report.txt
  verdict "the report has: $part" $?
done
expect "every check is in the report" "$(grep -c ' ok$' out.log)" "$(grep -c ' ok$' report.txt)"
QVG_TEST=$'any\xffbytes' selftest 0 --json --quick
expect "as JSON: all rows of the effect, all formats" "True 0 set()" \
  "$(json 'd["passed"], d["failed"]' | tr -d '(),') $("$qvg" effects --json | python3 -c '
import json, sys
rows = {row["name"] for row in json.load(sys.stdin)[0]["parameters"]}
print(rows - {check["name"] for check in json.load(open("out.log"))["checks"]})')"
expect "--list names what runs" "$(json 'len(d["checks"])')" "$("$qvg" selftest --list | grep -c '^ ')"

# A driver's fault; what must fail, and what must not.
while read -r fault broken whole; do
  LD_PRELOAD=$faulty QVG_TEST_FAULT=$fault selftest 1 --quick --json
  expect "$fault" "True False" "$(json "'$broken' in [c['group'] + '/' + c['name'].split(',')[0] for c in d['checks']
    if not c['passed']], '$whole' in [c['group'] for c in d['checks'] if not c['passed']]" | tr -d '(),')"
done <<'END'
rows readback/NV12 blend
order upload/ARGB readback
END
{ LD_PRELOAD=$faulty QVG_TEST_FAULT=crash "$qvg" selftest --only geometry --report crash.txt; } >out.log 2>&1
grep -q '^  depth test' out.log && grep -q '^  depth test' crash.txt
verdict "a driver that ends the process is caught in the act" $?

# The display on which it starts.
while read -r context display; do
  selftest 0 --only texture --quick --json --context "$context"
  expect "--context $context" "$display" "$(json 'd["display"]' | sed 's/ (.*//')"
done <<'END'
surfaceless surfaceless platform
device software device
device:0 device 0
END
expect "an unknown QVG_CONTEXT is told, and the usual display taken" "surfaceless True" "$(
  QVG_CONTEXT=wayland "$qvg" selftest --only texture --quick --json >out.log
  json 'd["display"].split()[0], d["passedOver"][0].startswith("QVG_CONTEXT is")' | tr -d "(),'")"
selftest 3 --context x11
grep -q '^NO CONTEXT' out.log && grep -q 'DISPLAY is not set' out.log
verdict "no context, and why" $?
selftest 3 --json --context device:99
expect "no context as JSON" "False None" "$(json 'd["context"], d["display"]' | tr -d '(),')"
if command -v xvfb-run >/dev/null; then
  xvfb-run -a -s "-screen 0 640x480x24 -nolisten tcp -noreset" env \
    __EGL_VENDOR_LIBRARY_FILENAMES=/usr/share/glvnd/egl_vendor.d/50_mesa.json \
    "$qvg" selftest --quick --json --context x11 >out.log 2>err.log
  expect "under X11" "True X11" "$(json 'd["passed"], d["display"].split()[0]' | tr -d "(),'")"
fi
for wrong in "--context wayland" "--context device:" "--only nothing" "--report /no/such/folder/file"; do
  "$qvg" selftest $wrong >out.log 2>err.log
  [[ $? -ne 0 && $(lines err.log) -eq 1 && $(lines out.log) -eq 0 ]]
  verdict "refused: $wrong" $? "$(<err.log)"
done

finish
