#!/bin/bash
# Only the platform's own files may have conditions on the platform. Of the examples, which choose by file, one header
# has them: whoever copies two_threads.c takes it along, and so has both platforms' threads.
set -u
folders=(src reference effectKit plugins tests bench tools examples)
if grep -rnE '^ *# *(if|elif).*(_WIN32|_WIN64|__linux__|__MINGW|__unix__)' "${folders[@]}" |
  grep -vE '^(src/(base/glContext(Platform\.h|_(win|egl)\.cpp)|utils/log\.cpp)|examples/hostThread\.h):'; then
  echo "the platform belongs into base/glContextPlatform, the log's sink and the examples' threads"
  exit 1
fi
