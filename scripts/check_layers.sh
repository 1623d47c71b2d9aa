#!/bin/bash
# Sources include their own layer, lower ones and the public header only, and only the platform's own files ask for the platform.
set -u
declare -A allowed=(
  [utils]='utils'
  [base]='base|utils'
  [drawer]='drawer|base|utils|qvGLRenderer'
  [effect]='effect|base|utils|qvGLRenderer'
  [tool]='tool|base|utils|qvGLRenderer'
  [context]='context|drawer|effect|tool|base|utils|qvGLRenderer'
)
status=0
for layer in "${!allowed[@]}"; do
  if grep -rnE '^ *# *include "' "src/$layer" --include='*.h' --include='*.cpp' |
    grep -vE "include \"(${allowed[$layer]})/"; then
    echo "src/$layer may include ${allowed[$layer]//|/, } only"
    status=1
  fi
done
if grep -rnE '^ *# *(if|elif).*(_WIN32|_WIN64|__linux__|__MINGW|__unix__)' src |
  grep -vE '^src/(base/glContextPlatform\.h|base/glContext_(win|egl)\.cpp|utils/log\.cpp):'; then
  echo "the platform belongs into base/glContextPlatform and the log's sink"
  status=1
fi
exit $status
