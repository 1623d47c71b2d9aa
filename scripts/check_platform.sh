#!/bin/bash
# Only the platform's own files may have conditions on the platform.
set -u
if grep -rnE '^ *# *(if|elif).*(_WIN32|_WIN64|__linux__|__MINGW|__unix__)' src reference tests bench tools |
  grep -vE '^src/(base/glContextPlatform\.h|base/glContext_(win|egl)\.cpp|utils/log\.cpp):'; then
  echo "the platform belongs into base/glContextPlatform and the log's sink"
  exit 1
fi
