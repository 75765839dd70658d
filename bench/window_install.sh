#!/usr/bin/env bash
# The same generated release (about 100 MB) installed from nginx on loopback
# twice: through the window under Xvfb, with START, Agree and Quit clicked by
# XTEST, and through --console. Prints both times, their ratio, and the mean
# time of APP_update's frames in stage 1 from the window run's log; then the
# window once more with _use_max_cpu on (no wait between frames).
# Usage: window_install.sh BUILD
set -euo pipefail

BUILD=$(cd "${1:-build}" && pwd)
NGINX=/usr/sbin/nginx
REL=9.20r1
for tool in "$NGINX" "$BUILD/zephyra-publish" "$BUILD/zephyra-installer" "$BUILD/window_install"; do
  [ -x "$tool" ] || { echo "missing $tool" >&2; exit 1; }
done
for tool in Xvfb python3; do command -v $tool >/dev/null || { echo "missing $tool" >&2; exit 1; }; done

WORK=$(mktemp -d /tmp/zephyra_window_install_XXXXXX)
NGINX_PID=""
XVFB_PID=""
cleanup() {
  for p in "$NGINX_PID" "$XVFB_PID"; do
    if [ -n "$p" ]; then kill "$p" 2>/dev/null || true; wait "$p" 2>/dev/null || true; fi
  done
  rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

PRODUCT="$WORK/product/Zephyra"
MIRROR="$WORK/mirror"
python3 "$(dirname "$0")/lib/make_product.py" "$PRODUCT" 100 24,16 40
TOTAL_MB=$(du -sm "$PRODUCT" | cut -f1)
FILES=$(find "$PRODUCT" -type f | wc -l)
"$BUILD/zephyra-publish" --product "$PRODUCT" --release "$REL" --out "$MIRROR" --quiet \
  --mirror "mirror1.bench.example,/,Bench mirror"

. "$(dirname "$0")/lib/loopback_mirror.bash"
start_loopback_mirror

# Xvfb on a display it picks itself.
Xvfb -displayfd 5 -screen 0 1024x768x24 -nolisten tcp 5>"$WORK/display" >/dev/null 2>&1 &
XVFB_PID=$!
for _ in $(seq 200); do grep -q . "$WORK/display" 2>/dev/null && break; sleep 0.05; done
grep -q . "$WORK/display" || { echo "Xvfb did not start" >&2; exit 1; }
export DISPLAY=":$(head -1 "$WORK/display")"

now() { date +%s.%N; }
elapsed() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", b - a }'; }
# Each run uses its own copy of the program, so each has its own Log.txt.
for run in win fast con; do
  mkdir -p "$WORK/${run}_bin" "$WORK/$run"
  cp "$BUILD/zephyra-installer" "$WORK/${run}_bin/"
done
FAST_HOME="$WORK/fast_home"
mkdir -p "$FAST_HOME/.zephyra"
{ cat "$HOME_DIR/.zephyra/Zephyra Installer.prf"; echo "_use_max_cpu 1"; } > "$FAST_HOME/.zephyra/Zephyra Installer.prf"

# window RUN HOME: one install through the window; sets T.
window_run() {
  sync
  t0=$(now)
  HOME="$2" "$WORK/$1_bin/zephyra-installer" -path "$WORK/$1/" --force_run >"$WORK/$1.out" 2>&1 &
  APP=$!
  if ! "$BUILD/window_install"; then
    kill "$APP" 2>/dev/null || true; tail -20 "$WORK/$1.out" >&2; exit 1
  fi
  wait "$APP" || { tail -20 "$WORK/$1.out" >&2; echo "the window run failed" >&2; exit 1; }
  t1=$(now)
  T=$(elapsed "$t0" "$t1")
}
window_run win "$HOME_DIR"
T_WIN=$T
window_run fast "$FAST_HOME"
T_FAST=$T

sync
t0=$(now)
HOME="$HOME_DIR" TMPDIR="$WORK/tmp" "$WORK/con_bin/zephyra-installer" -path "$WORK/con/" --console --agree \
  </dev/null >"$WORK/console.out" 2>&1 || { tail -20 "$WORK/console.out" >&2; echo "the console run failed" >&2; exit 1; }
t1=$(now)
T_CON=$(elapsed "$t0" "$t1")

for run in win fast con; do
  if diff -rq "$PRODUCT" "$WORK/$run/Zephyra" | grep -v "^Only in $WORK/$run/Zephyra" >&2; then
    echo "the $run run's tree differs from the product" >&2; exit 1
  fi
done

FRAME=$(grep -a 'APP_update in stage 1' "$WORK/win_bin/Log.txt" | tail -1 | sed 's/.*: //')
RATIO=$(awk -v a="$T_CON" -v b="$T_WIN" 'BEGIN { printf "%.2f", a / b }')
RATIO_FAST=$(awk -v a="$T_CON" -v b="$T_FAST" 'BEGIN { printf "%.2f", a / b }')
echo "release: $TOTAL_MB MB in $FILES files"
printf 'window (Xvfb, clicks)  %8s s\n' "$T_WIN"
printf 'console --agree        %8s s\n' "$T_CON"
printf 'ratio (console time / window time) %s\n' "$RATIO"
echo "APP_update in stage 1: $FRAME"
printf 'window, _use_max_cpu   %8s s   (ratio %s)\n' "$T_FAST" "$RATIO_FAST"
