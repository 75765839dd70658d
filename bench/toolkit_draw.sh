#!/usr/bin/env bash
# A full screen of text (50 lines of 120 characters) and 100 framed buttons,
# drawn under Xvfb with Mesa: milliseconds a frame with the GL state cache,
# and with the cache bypassed so every state change and bind reaches GL.
set -euo pipefail
build=${1:-build}
frames=${TOOLKIT_DRAW_FRAMES:-200}

exec {fd}<> <(:)
Xvfb -displayfd "$fd" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT
read -r -t 10 -u "$fd" display

figures=$(DISPLAY=":$display" "$build/toolkit_draw" "$frames" | grep '^cached_ms=')
eval "$figures"
echo "full screen of text and buttons, state cache on:  ${cached_ms} ms a frame, of which ${cached_submit_ms} ms in the GL calls"
echo "full screen of text and buttons, cache bypassed: ${bypassed_ms} ms a frame, of which ${bypassed_submit_ms} ms in the GL calls"
awk -v a="$cached_ms" -v b="$bypassed_ms" -v c="$cached_submit_ms" -v d="$bypassed_submit_ms" \
  'BEGIN { printf "ratio, bypassed to cached (above 1: the cache saves time): %.2f a frame, %.2f in the calls\n", b / a, d / c }'
