#!/usr/bin/env bash
# Installs what is missing, builds korvane-demo and runs it: in a window when there is a display,
# otherwise the scripted session under Xvfb with a screenshot (korvane-demo.png). Extra arguments
# go to the demo (--scripted, --screenshot FILE, --backend URL).
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/install-deps.sh
cmake --preset default >/dev/null
cmake --build --preset default --target korvane-demo
demo=build/default/demo/korvane-demo
if [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]; then
  exec "$demo" "$@"
fi
echo "No display: running the scripted session under Xvfb."
if (($# == 0)); then set -- --scripted --screenshot korvane-demo.png; fi
exec xvfb-run -a -s "-screen 0 1280x1024x24" "$demo" "$@"
