# The parts of ./test, and the counting. A check is a GoogleTest test or one row printed by check().

passed=0 failed=0 skipped=0
summary=()
part_name= part_start=0

# A driver that is the same on every machine; the tests' figures and the suppressions are for it.
mesa_only=(__EGL_VENDOR_LIBRARY_FILENAMES=/usr/share/glvnd/egl_vendor.d/50_mesa.json LIBGL_ALWAYS_SOFTWARE=1)
headless=(env -u DISPLAY -u WAYLAND_DISPLAY)
xvfb=(xvfb-run -a -s "-screen 0 1280x1024x24 -nolisten tcp -noreset")
sanitizer_options=(
  "ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1:check_initialization_order=1"
  "LSAN_OPTIONS=suppressions=$PWD/tests/support/lsan.supp:print_suppressions=0"
  "UBSAN_OPTIONS=print_stacktrace=1"
  "TSAN_OPTIONS=suppressions=$PWD/tests/support/tsan.supp:second_deadlock_stack=1"
)
wine_environment=(
  "WINEPREFIX=$PWD/build/wine" WINEARCH=win64 WINEDEBUG=-all
  "WINEDLLOVERRIDES=mscoree=;mshtml=;winemenubuilder.exe=;winedbg.exe=d"
)

# start_xvfb: an X server for the rest of the part, on a display of its own choice; with_x then is the command prefix.
xvfb_pid=
start_xvfb() {
  local file
  file=$(mktemp) # Of its own: two runs side by side must not share a screen.
  Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp -noreset 3>"$file" >/dev/null 2>&1 </dev/null &
  xvfb_pid=$!
  local tries
  for ((tries = 0; tries < 100; ++tries)); do
    [[ -s $file ]] && break
    sleep 0.1
  done
  with_x=(env -u WAYLAND_DISPLAY "DISPLAY=:$(<"$file")")
  rm -f "$file"
}

stop_xvfb() {
  [[ $xvfb_pid ]] || return 0
  kill "$xvfb_pid" 2>/dev/null
  wait "$xvfb_pid" 2>/dev/null
  xvfb_pid=
}
ahead_pid=
trap 'stop_xvfb; [[ $ahead_pid ]] && kill "$ahead_pid" 2>/dev/null' EXIT

begin_part() {
  part_name=$1 part_start=$SECONDS
  echo
  echo "== $1"
}

# row NAME PASSED FAILED SKIPPED SECONDS
row() {
  ((passed += $2, failed += $3, skipped += $4))
  local text
  printf -v text '%-8s %-34s %5d passed %3d failed %3d skipped %4d s' "$part_name" "$1" "$2" "$3" "$4" "$5"
  summary+=("$text")
  echo "$text"
}

# check NAME COMMAND...: one check, by its exit status; its output is shown when it fails.
check() {
  local name=$1 start=$SECONDS
  shift
  local log="build/results/$part_name-${name//[^A-Za-z0-9_.]/-}.log"
  if "$@" >"$log" 2>&1 </dev/null; then
    row "$name" 1 0 0 $((SECONDS - start))
    return 0
  fi
  tail -n 60 "$log"
  row "$name" 0 1 0 $((SECONDS - start))
  return 1
}

# run_gtest NAME COMMAND...: runs a GoogleTest program and counts its tests. A program that dies, reports a leak or
# runs nothing is a failure of its own, whatever its tests said.
run_gtest() {
  local name=$1 start=$SECONDS status
  shift
  local report="build/results/$part_name-$name.xml" log="build/results/$part_name-$name.log"
  rm -f "$report"
  GTEST_OUTPUT="xml:$report" timeout -k 10 900 "$@" >"$log" 2>&1 </dev/null
  status=$?
  local tests=0 failures=0 without=0
  if [[ -s $report ]]; then
    tests=$(sed -n 's/.*<testsuites tests="\([0-9]*\)".*/\1/p' "$report")
    failures=$(sed -n 's/.*<testsuites [^>]* failures="\([0-9]*\)".*/\1/p' "$report")
    without=$(grep -c -e 'result="skipped"' -e 'status="notrun"' "$report")
  else
    tests=$(grep -c '^\[       OK \]' "$log")
  fi
  ((tests -= failures + without))
  if ((failures == 0 && (status != 0 || tests <= 0))) || [[ ! -s $report ]]; then
    tail -n 60 "$log"
    echo "$name: ended with status $status"
    ((failures += 1))
  elif ((failures)); then
    grep -a -B 30 '^\[  FAILED  \].* ms)' "$log" | tail -n 120
  fi
  row "$name" "$((tests > 0 ? tests : 0))" "$failures" "$without" $((SECONDS - start))
}

# What of a preset is built, where it is not all.
declare -A targets_of=(
  [asan]="qvg_tests qvg_unit_tests qvg_fault_tests qvg_fuzz qvg_gst_effect_tests"
  [tsan]="qvg_tests qvg_unit_tests qvg_races qvg_fuzz"
  [clang]="qvg qvg_unit_tests"
)

# compile PRESET: configures and builds, one at a time.
compile() {
  local targets
  read -ra targets <<<"${targets_of[$1]-}"
  (flock 9 && cmake --preset "$1" && cmake --build "build/$1" "${targets[@]/#/--target=}") 9>"build/results/$1.lock"
}

# What later parts build goes on beside the tests of earlier ones, which leave a core idle.
compile_ahead() {
  local preset
  renice -n 10 "$BASHPID"
  for preset in windows asan tsan clang; do
    [[ " ${parts[*]-} " != *" $preset "* ]] || compile "$preset"
  done
}

# build PRESET: the rest of a part makes no sense without it.
build() {
  local preset=$1 start=$SECONDS log="build/results/$1-build.log"
  if ! compile "$preset" >"$log" 2>&1 </dev/null; then
    grep -a -E -A 12 'error|Error|FAILED' "$log" | head -n 80
    row "build $preset" 0 1 0 $((SECONDS - start))
    return 1
  fi
  printf '%-8s built in %d s\n' "$preset" $((SECONDS - start))
  [[ $ahead_pid ]] || { compile_ahead >/dev/null 2>&1 </dev/null & ahead_pid=$!; }
}

# run_product PRESET COMMAND...: the checks of the product and the example hosts, under the command.
run_product() {
  local start=$SECONDS preset=$1 report="$PWD/build/results/$part_name-product.xml"
  local log="build/results/$part_name-product.log"
  shift
  rm -f "$report"
  "$@" ctest --test-dir "build/$preset" -L product --output-on-failure --output-junit "$report" >"$log" 2>&1 </dev/null
  local status=$? tests=0 failures=0
  if [[ -s $report ]]; then
    tests=$(sed -n 's/.*\btests="\([0-9]*\)".*/\1/p' "$report" | head -n 1)
    failures=$(sed -n 's/.*\bfailures="\([0-9]*\)".*/\1/p' "$report" | head -n 1)
  fi
  if ((status != 0 || tests == 0)); then
    tail -n 60 "$log"
    ((failures > 0)) || failures=1 tests=$((tests + 1))
  fi
  row "product" $((tests - failures)) "$failures" 0 $((SECONDS - start))
}

# Both test programs, and the command in front of them.
run_test_programs() {
  local program
  for program in qvg_tests qvg_unit_tests; do
    run_gtest "$program" "$@" "build/$build_folder/$program$suffix"
  done
}

part_format() {
  local files
  mapfile -t files < <(list_sources)
  check "clang-format (${#files[@]} files)" clang-format --dry-run -Werror "${files[@]}"
  check "platform seam" scripts/check_platform.sh
}

part_linux() {
  build linux || return
  build_folder=linux suffix= run_test_programs "${headless[@]}"
  run_gtest qvg_gst_effect_tests "${headless[@]}" "${mesa_only[@]}" build/linux/qvg_gst_effect_tests
}

# The shaders that are checked are the texts that the driver got while the tests ran. Pictures that a stricter driver
# can't copy take one of their own.
part_x11() {
  local texts="$PWD/build/results/shaders"
  build linux || return
  rm -rf "$texts" && mkdir -p "$texts"
  local run=("MESA_SHADER_DUMP_PATH=$texts" "${mesa_only[@]}")
  start_xvfb
  build_folder=linux suffix= run_test_programs "${with_x[@]}" "${run[@]}"
  GTEST_FILTER='Window*' "${with_x[@]}" "${run[@]}" QVG_TEST_DRIVER=rgb build/linux/qvg_strict_tests \
    >build/results/x11-shaders.log 2>&1 </dev/null
  check "glslangValidator" scripts/validate_shaders.sh "$texts"
  run_gtest qvg_gst_sink_tests "${with_x[@]}" "${mesa_only[@]}" build/linux/qvg_gst_sink_tests
  check "plugin in a live pipeline" "${with_x[@]}" "${mesa_only[@]}" build/linux/qvg_gst_soak --seconds 30
  check "soak" "${with_x[@]}" "${mesa_only[@]}" build/linux/qvg_soak --seconds 30
  stop_xvfb
}

part_product() {
  build linux || return
  # Two at a time: most of it waits for windows and encoders.
  CTEST_PARALLEL_LEVEL=2 run_product linux "${headless[@]}"
}

# start_wine: an X server and Wine on it, for the rest of the part; with_wine then is the command prefix.
start_wine() {
  start_xvfb
  with_wine=("${with_x[@]}" "${wine_environment[@]}")
  check "wine prefix" "${with_wine[@]}" scripts/make_wine_prefix.sh || { stop_xvfb; return 1; }
  "${with_wine[@]}" wineserver -p # Stays until it is told to go: starting it takes seconds.
}

stop_wine() {
  "${with_wine[@]}" wineserver -k
  stop_xvfb
}

part_windows() {
  build windows || return
  start_wine || return
  local run=("${with_wine[@]}")
  build_folder=windows suffix=.exe run_test_programs "${run[@]}" wine
  QVG_FAULT_STRIDE=197 GTEST_FILTER='*Start*Driver:*Window*Driver:*Contexts*Driver:Mapping*' run_gtest failing_driver \
    "${run[@]}" wine build/windows/qvg_fault_tests.exe
  run_product windows "${run[@]}"
  stop_wine
}

# The packages, and what somebody does with them.
part_package() {
  check "made" scripts/package.sh || return
  start_wine || return
  check "used" "${with_wine[@]}" "${mesa_only[@]}" tests/product/packages.sh build/packages cmake/mingw-w64.cmake
  stop_wine
}

# Another compiler's opinion. Its programs need not be fast.
part_clang() {
  build clang || return
  run_gtest qvg_unit_tests "${headless[@]}" build/clang/qvg_unit_tests
}

part_asan() {
  build asan || return
  start_xvfb
  build_folder=asan suffix= run_test_programs "${with_x[@]}" "${mesa_only[@]}" "${sanitizer_options[@]}"
  local run=("${with_x[@]}" "${mesa_only[@]}" "${sanitizer_options[@]}")
  QVG_FAULT_STRIDE=47 GTEST_FILTER='*Heap*' run_gtest failing_heap "${run[@]}" build/asan/qvg_fault_tests
  # A context whose destruction is made to fail stays with the driver; the tests count what is made and deleted.
  QVG_FAULT_STRIDE=397 GTEST_FILTER='-*Heap*' run_gtest failing_driver "${run[@]}" ASAN_OPTIONS=detect_leaks=0 \
    build/asan/qvg_fault_tests
  check "hostile calls" "${run[@]}" build/asan/qvg_fuzz --seconds 35
  # GLib leaves a table of its own behind where it grows, with nothing in the stack to know it by.
  GTEST_FILTER='-EffectPicture.IsThatOfEveryInput:EffectLife.GoesOn*' run_gtest qvg_gst_effect_tests "${run[@]}" \
    ASAN_OPTIONS=detect_leaks=0 build/asan/qvg_gst_effect_tests
  stop_xvfb
}

# Drivers that are stricter than this machine's, or fail, and a heap that is used up. All modes of the driver at once:
# the targets qvg_strict_all and qvg_fault_all take one after the other, and every call and allocation.
part_strict() {
  build linux || return
  local driver=("${mesa_only[@]}" build/linux/qvg_strict)
  run_gtest qvg_strict_tests "${headless[@]}" "${driver[@]}_tests"
  run_gtest qvg_strict_unit_tests "${headless[@]}" "${driver[@]}_unit_tests"
  start_xvfb
  GTEST_FILTER='Window*:Driver*' run_gtest qvg_strict_windows "${with_x[@]}" "${driver[@]}_tests"
  run_gtest qvg_fault_tests "${with_x[@]}" "${mesa_only[@]}" build/linux/qvg_fault_tests
  stop_xvfb
}

# Tests in whose source threads begin, or wait for one of the library's, as a filter.
threaded_tests() {
  awk '/^TEST/ { split($0, name, /[(, )]+/) } /std::(jthread|thread|this_thread)/ && name[2] != "" {
    print "*" name[2] "." name[3] "*" }' tests/table/*.cpp tests/unit/*.cpp | sort -u | paste -sd:
}

# tsan_run: the command in front of a program for the thread sanitizer, which is to run on the display.
set_tsan_run() {
  # The shadow memory has fixed places, which some kernels' address randomisation runs into.
  local fixed=()
  setarch -R true 2>/dev/null && fixed=(setarch -R)
  tsan_run=("${with_x[@]}" "${mesa_only[@]}" "${sanitizer_options[@]}" "${fixed[@]}")
}

part_tsan() {
  build tsan || return
  start_xvfb
  set_tsan_run
  GTEST_FILTER=$(threaded_tests) build_folder=tsan suffix= run_test_programs "${tsan_run[@]}"
  check "planted races" "${tsan_run[@]}" tests/abuse/planted_races.sh build/tsan/qvg_races
  check "hostile calls of four threads" "${tsan_run[@]}" build/tsan/qvg_fuzz --threads 4 --seconds 25
  stop_xvfb
}

part_coverage() {
  build coverage || return
  find build/coverage -name '*.gcda' -delete
  start_xvfb
  build_folder=coverage suffix= run_test_programs "${with_x[@]}"
  stop_xvfb
  mkdir -p build/coverage/report
  check "report" gcovr --root . --filter src/ --object-directory build/coverage --html-details \
    build/coverage/report/index.html --exclude-throw-branches --print-summary
  tail -n 3 build/results/coverage-report.log
}

finish() {
  echo
  echo "== Summary ($((SECONDS / 60)) min $((SECONDS % 60)) s)"
  printf '%s\n' "${summary[@]}"
  echo
  if ((skipped)); then
    echo "$passed passed, $failed failed, $skipped skipped"
  else
    echo "$passed passed, $failed failed"
  fi
  ((failed == 0 && passed > 0)) || exit 1
}
