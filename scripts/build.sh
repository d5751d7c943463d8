#!/usr/bin/env bash
# Configures and builds one build tree. Usage: build.sh DIR [cmake options...]
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
dir="$1"; shift
cmake -S "$here" -B "$dir" -G Ninja "$@" >/dev/null
cmake --build "$dir" -j "$(nproc)" ${ZYN_BUILD_TARGET:+--target $ZYN_BUILD_TARGET}
