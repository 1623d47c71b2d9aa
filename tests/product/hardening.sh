#!/bin/bash
# hardening.sh OBJDUMP BINARY...: what a binary promises the loader, and what its code is checked by.
set -u
objdump=$1
shift
failed=0

# promise BINARY NAME PATTERN TEXT: the text has, or with a ! before the pattern has not, a matching line.
promise() {
  local found=0
  grep -qE -e "${3#!}" <<<"$4" && found=1
  if [[ $3 == !* ]]; then ((found = !found)); fi
  ((found)) && return
  echo "$1: $2 missing"
  failed=1
}

for binary in "$@"; do
  headers=$("$objdump" -p "$binary") || failed=1
  if [[ $binary == *.dll || $binary == *.exe ]]; then
    symbols=$("$objdump" -t "$binary")
    promise "$binary" "address randomisation" 'DYNAMIC_BASE' "$headers"
    promise "$binary" "64-bit address randomisation" 'HIGH_ENTROPY_VA' "$headers"
    promise "$binary" "table of relocations" '\.reloc|Base Relocation Directory' "$headers"
    promise "$binary" "data execution prevention" 'NX_COMPAT' "$headers"
    promise "$binary" "stack protector" '__stack_chk_fail' "$symbols"
  else
    # One line a segment, with its flags.
    segments=$(awk '/ off /{name = $1} / flags /{print name, $NF}' <<<"$headers")
    imports=$("$objdump" -T "$binary")
    promise "$binary" "read-only relocations" '^RELRO r--$' "$segments"
    promise "$binary" "binding at start" 'FLAGS_1 +0x[0-9a-f]*[13579bdf]$' "$headers"
    promise "$binary" "stack without code" '^STACK rw-$' "$segments"
    promise "$binary" "code that is not writable" '! .wx$' "$segments"
    promise "$binary" "code without relocations" '!TEXTREL' "$headers"
    promise "$binary" "random place" '^DYNAMIC' "$("$objdump" -f "$binary" | tr , '\n' | tr -d ' ')"
    promise "$binary" "stack protector" '__stack_chk_fail' "$imports"
    promise "$binary" "fortified functions" '__[a-z]+_chk$' "$imports"
  fi
done
exit "$failed"
