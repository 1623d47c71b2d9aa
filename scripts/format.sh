#!/bin/bash
# Formats all sources in place.
set -eu
cd "$(dirname "$0")/.."
source scripts/common.sh
list_sources | xargs -d "\n" clang-format -i
