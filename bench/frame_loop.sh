#!/usr/bin/env bash
# Frames per second of the empty frame loop under Xvfb with Mesa, paced
# (use_max_cpu 0) and spinning (1), and the CPU it takes while idle, beside
# glxgears' rate on the same kind of server when mesa-utils is installed.
set -euo pipefail
build=${1:-build}
seconds=${FRAME_LOOP_SECONDS:-3}

exec {fd}<> <(:)
Xvfb -displayfd "$fd" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true' EXIT
read -r -t 10 -u "$fd" display

figures=$(DISPLAY=":$display" FRAME_LOOP_SECONDS=$seconds "$build/toolkit_frame_loop" | grep '^fps_paced=')
eval "$figures"
echo "frame loop, use_max_cpu 0: ${fps_paced} frames/s, ${cpu_paced}% of a core (target: near 60, under 10%)"
echo "frame loop, use_max_cpu 1: ${fps_max_cpu} frames/s, ${cpu_max_cpu}% of a core"

if ! command -v glxgears >/dev/null; then
  echo "glxgears not installed (package mesa-utils): no comparison"
  exit 0
fi
gears=$(DISPLAY=":$display" timeout $((seconds + 3)) glxgears 2>/dev/null | grep -o '[0-9.]* FPS' | tail -1 | cut -d' ' -f1 || true)
if [ -z "$gears" ]; then
  echo "glxgears gave no figure: no comparison"
  exit 0
fi
echo "glxgears: ${gears} frames/s"
awk -v a="$fps_max_cpu" -v b="$gears" 'BEGIN { printf "ratio, spinning frame loop to glxgears: %.2f\n", a / b }'
