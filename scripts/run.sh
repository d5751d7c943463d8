#!/usr/bin/env bash
# Installs what is missing, builds (Release) and starts zynphoto.
# Without a display it runs a scripted walk through the aerial workflow
# under Xvfb and writes screenshots, printing where they are.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
"$here/scripts/install-deps.sh"
build="$here/build/release"
"$here/scripts/build.sh" "$build" -DCMAKE_BUILD_TYPE=Release -DZYN_BUILD_TESTS=OFF -DZYN_BUILD_BENCH=OFF

if [ -n "${DISPLAY:-}" ] && [ -z "${ZYN_FORCE_XVFB:-}" ]; then
  exec "$build/bin/zynphoto" "$@"
fi

shots="${ZYN_SCREENSHOT_DIR:-$here/build/screenshots}"
mkdir -p "$shots"
export QTWEBENGINE_DISABLE_SANDBOX=1
xvfb-run -a -s "-screen 0 1600x1000x24" "$build/bin/zynphoto" --demo "$shots" "$@"
# The GCP map over a synthetic flight: photo background, cameras and pins.
xvfb-run -a -s "-screen 0 1600x1000x24" "$build/bin/map_demo" "$shots/map-photos-cameras-pins.png" \
  || echo "The map screenshot could not be made (see above)." >&2
echo "Screenshots written to: $shots"
ls -1 "$shots"
