#!/bin/bash
# Checks that the tests find faults: each mutant of scripts/mutants.txt is put into a copy of the sources, and must make
# a test program fail. Ends with the names of the mutants that no test found.
#
#   scripts/mutants.sh [NAME...]    those whose names contain one of the words; without any all of them
#
# A mutant whose text is not there exactly once, or that doesn't compile, is an error. At least 95 % must be found.
set -u
cd "$(dirname "$0")/.." || exit 1
folder=build/mutants
log=$PWD/$folder/log
programs=(qvg_unit_tests qvg_tests)
headless=(env -u DISPLAY -u WAYLAND_DISPLAY LIBGL_ALWAYS_SOFTWARE=1)
mkdir -p "$folder/tree"

# Copies the sources as they are, with uncommitted changes; unchanged files keep their time, deleted ones go.
git ls-files -z --cached --others --exclude-standard | while IFS= read -r -d '' file; do
  [[ -f $file ]] || continue
  cmp -s "$file" "$folder/tree/$file" || install -D -m "$(stat -c %a "$file")" "$file" "$folder/tree/$file"
done
find "$folder/tree" -type f -printf '%P\0' | while IFS= read -r -d '' file; do
  [[ -f $file ]] || rm "$folder/tree/$file"
done

build() { cmake --build "$folder/build" --target "${programs[@]}" >"$log" 2>&1; }

# run: all programs pass; otherwise says which one didn't, and where.
run() {
  local program status
  for program in "${programs[@]}"; do
    timeout -k 5 300 "${headless[@]}" "$folder/build/$program" --gtest_fail_fast --gtest_brief=1 >"$log" 2>&1 </dev/null
    status=$?
    ((status == 0)) && continue
    echo "$(grep -a -m 1 -o '^\[  FAILED  \] [A-Za-z0-9_./]*' "$log" || echo "$program: status $status")"
    return 1
  done
}

# Not optimised, since compiling takes most of the time; a library whose interface is unchanged relinks nothing.
cmake -S "$folder/tree" -B "$folder/build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG=-O1 \
  -DCMAKE_LINK_DEPENDS_NO_SHARED=ON -DQVG_BUILD_TOOLS=OFF -DQVG_BUILD_BENCH=OFF -DQVG_BUILD_EXAMPLES=OFF >"$log" 2>&1 &&
  build || { tail -n 40 "$log"; exit 1; }
run || { echo "the tests fail without a mutant"; exit 1; }

found=0 errors=0 survivors=()

# try NAME FILE: the mutant's file has been changed.
try() {
  local verdict
  if ! build; then
    verdict="does not compile"
    ((++errors))
  elif verdict=$(run); then
    verdict=SURVIVED
    survivors+=("$1")
  else
    ((++found))
  fi
  printf '%-52s %s\n' "$1" "$verdict"
}

# A mutant is a line "== FILE: NAME" and then the lines that go, after "-", and those that come instead, after "+".
while IFS= read -r -d '' mutant; do
  head=${mutant%%$'\n'*}
  file=${head%%: *} name=${head#*: }
  if (($#)); then
    wanted=false
    for word in "$@"; do [[ $name == *"$word"* ]] && wanted=true; done
    "$wanted" || continue
  fi
  if MUTANT=$mutant perl -0777 -pe '
      BEGIN {
        for (split /\n/, $ENV{MUTANT}) { $from .= "$1\n" if /^-(.*)/; $to .= "$1\n" if /^\+(.*)/; }
        s{\n\z}{} for $from, $to;
      }
      $count = () = /\Q$from\E/g;
      $count == 1 or die "found $count times: $from\n";
      s/\Q$from\E/$to/;' "$file" >"$folder/mutant"; then
    cp "$folder/mutant" "$folder/tree/$file"
    try "$name"
    cp "$file" "$folder/tree/$file"
  else
    printf '%-52s %s\n' "$name" "does not apply"
    ((++errors))
  fi
done < <(perl -0777 -ne 'print join "", map { "$_\0" } grep { length } split /^== /m, s/^#.*\n//gmr' scripts/mutants.txt)

((total = found + ${#survivors[@]}))
echo "$found of $total mutants found, $errors errors"
((${#survivors[@]})) && printf 'survived: %s\n' "${survivors[@]}"
((errors == 0 && total > 0 && found * 100 >= total * 95))
