#!/usr/bin/env bash
# The folder chooser under Xvfb with Mesa, which lists its folder anew on
# every frame: milliseconds a frame on a folder of 2999 entries against the
# same screen on a folder of 10, and, beside them, one `ls -l` of the big
# folder (which also reads, stats and sorts every entry).
set -euo pipefail
build=${1:-build}
frames=${CHOOSER_FRAMES:-300}

work=$(mktemp -d)
exec {fd}<> <(:)
Xvfb -displayfd "$fd" -screen 0 1024x768x24 -nolisten tcp >/dev/null 2>&1 &
xvfb=$!
trap 'kill $xvfb 2>/dev/null || true; rm -rf "$work"' EXIT
read -r -t 10 -u "$fd" display

# Folders and files mixed, as a real folder holds them.
mkdir -p "$work/small" "$work/big"
for i in $(seq 1 5); do mkdir "$work/small/folder $i"; : > "$work/small/file $i.txt"; done
(cd "$work/big" && for i in $(seq 1 300); do mkdir "folder $i"; done &&
  seq 1 2699 | sed 's/^/file /; s/$/.txt/' | xargs -d '\n' touch)

run() { DISPLAY=":$display" "$build/toolkit_chooser" "$1/" "$frames" | grep '^entries='; }
eval "$(run "$work/small")"; small_n=$entries; small_ms=$frame_ms
eval "$(run "$work/big")"; big_n=$entries; big_ms=$frame_ms

start=$(date +%s%N)
for i in $(seq 1 20); do ls -l "$work/big" >/dev/null; done
ls_ms=$(awk -v ns=$(( $(date +%s%N) - start )) 'BEGIN { printf "%.3f", ns / 20 / 1e6 }')

echo "chooser on $small_n entries: ${small_ms} ms a frame"
echo "chooser on $big_n entries: ${big_ms} ms a frame"
echo "ls -l of the same $big_n entries, once: ${ls_ms} ms"
awk -v a="$small_ms" -v b="$big_ms" -v n="$big_n" -v m="$small_n" \
  'BEGIN { printf "ratio, %d-entry to %d-entry frame: %.2f\n", n, m, b / a }'
