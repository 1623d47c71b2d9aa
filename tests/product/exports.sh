#!/bin/bash
# exports.sh LIBRARY NM OBJDUMP: the library exports its two entry points and nothing else.
set -eu
case $1 in
  *.dll) found=$("$3" -p "$1" | sed -n '/Name Pointer\] Table/,/^$/s/^\s*\[ *[0-9]*\] \(\S*\).*/\1/p') ;;
  *) found=$("$2" -D --defined-only --format=posix "$1" | cut -d ' ' -f 1) ;;
esac
expected=$'QVG_GetGLRendererInterface\nQVG_ReleaseGLRendererInterface'
diff <(echo "$expected") <(sort <<<"$found")
