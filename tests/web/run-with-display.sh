#!/usr/bin/env bash
# Runs a command with a display: the one the session has, or a private Xvfb server.
set -euo pipefail
if [[ -n ${DISPLAY:-} || -n ${WAYLAND_DISPLAY:-} ]]; then
  exec "$@"
fi
exec xvfb-run -a -s "-screen 0 1280x1024x24" "$@"
