#!/usr/bin/env bash
# Installs what Tessoly needs, builds it optimised and opens the window.
# Without a display it prints `tessoly status` instead. Extra arguments are
# passed to tessoly (for example: scripts/run.sh history).
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release

binary=build/release/app/tessoly
if [ $# -gt 0 ]; then
  exec "$binary" "$@"
elif [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
  exec "$binary"
else
  echo "No display found: showing \`tessoly status\` instead of the window." >&2
  exec "$binary" status
fi
