#!/bin/bash
# hardening.sh OBJDUMP BINARY...: the hardening that binaries declare to the loader, and the checks in their code.
set -u
objdump=$1
shift
failed=0

# promise NAME PATTERN TEXT: the text has, or with a ! before the pattern has not, a matching line.
promise() {
  local found=0
  grep -qE -e "${2#!}" <<<"$3" && found=1
  [[ $2 == !* ]] && ((found = !found))
  ((found)) && return
  echo "$binary: $1 missing"
  failed=1
}

for binary in "$@"; do
  headers=$("$objdump" -p "$binary") || failed=1
  symbols=$("$objdump" -tT "$binary" 2>/dev/null)
  promise "stack protector" '__stack_chk_fail' "$symbols"
  if [[ $binary == *.dll || $binary == *.exe ]]; then
    for flag in DYNAMIC_BASE HIGH_ENTROPY_VA NX_COMPAT '\.reloc|Base Relocation Directory'; do
      promise "$flag" "$flag" "$headers"
    done
  else
    # One line per segment, with its flags.
    segments=$(awk '/ off /{name = $1} / flags /{print name, $NF}' <<<"$headers")
    promise "read-only relocations" '^RELRO r--$' "$segments"
    promise "binding at start" 'FLAGS_1 +0x[0-9a-f]*[13579bdf]$' "$headers"
    promise "stack without code" '^STACK rw-$' "$segments"
    promise "code that is not writable" '! .wx$' "$segments"
    promise "code without relocations" '!TEXTREL' "$headers"
    promise "random place" '^DYNAMIC' "$("$objdump" -f "$binary" | tr , '\n' | tr -d ' ')"
    promise "fortified functions" '__[a-z]+_chk$' "$("$objdump" -T "$binary")"
  fi
done
exit "$failed"
