#!/usr/bin/env bash
# Download speed of the slots against curl, both fetching from nginx on
# loopback: one 256 MB file, then four 64 MB files at once on slots 2 to 5
# against curl --parallel. Best of three runs each; the machine is shared.
set -euo pipefail

BUILD=${1:-build}
BIN="$BUILD/net_fetch"
NGINX=/usr/sbin/nginx
RUNS=3
[ -x "$BIN" ] || { echo "missing $BIN: build the target net_fetch first" >&2; exit 1; }
[ -x "$NGINX" ] || { echo "missing $NGINX (apt-get install nginx)" >&2; exit 1; }
command -v curl >/dev/null || { echo "missing curl" >&2; exit 1; }

WORK=$(mktemp -d /tmp/zephyra_net_fetch_XXXXXX)
NGINX_PID=""
cleanup() {
  if [ -n "$NGINX_PID" ]; then kill "$NGINX_PID" 2>/dev/null || true; wait "$NGINX_PID" 2>/dev/null || true; fi
  rm -rf "$WORK"
}
trap cleanup EXIT

mkdir -p "$WORK/www" "$WORK/ours" "$WORK/curl"
head -c $((256 * 1024 * 1024)) /dev/urandom > "$WORK/www/big.bin"
for i in 1 2 3 4; do head -c $((64 * 1024 * 1024)) /dev/urandom > "$WORK/www/part$i.bin"; done

start_nginx() {
  PORT=$("$BIN" --free-port)
  cat > "$WORK/nginx.conf" <<CONF
daemon off;
master_process off;
user root;
worker_processes 1;
pid $WORK/nginx.pid;
error_log $WORK/error.log;
events { worker_connections 64; }
http {
  access_log off;
  sendfile on;
  client_body_temp_path $WORK/body;
  proxy_temp_path $WORK/proxy;
  fastcgi_temp_path $WORK/fastcgi;
  uwsgi_temp_path $WORK/uwsgi;
  scgi_temp_path $WORK/scgi;
  server { listen 127.0.0.1:$PORT; root $WORK/www; }
}
CONF
  "$NGINX" -p "$WORK/" -c "$WORK/nginx.conf" -e "$WORK/error.log" &
  NGINX_PID=$!
  for _ in $(seq 100); do
    curl -s -o /dev/null "http://127.0.0.1:$PORT/" && return 0
    kill -0 "$NGINX_PID" 2>/dev/null || break
    sleep 0.05
  done
  return 1
}
for _ in 1 2 3; do start_nginx && break; NGINX_PID=""; done
[ -n "$NGINX_PID" ] || { echo "nginx did not start" >&2; cat "$WORK/error.log" >&2; exit 1; }

now() { date +%s.%N; }
# Best (shortest) wall time of RUNS runs of a command.
best_of() {
  local best="" t0 t1 t
  for _ in $(seq $RUNS); do
    rm -f "$WORK"/ours/* "$WORK"/curl/*
    t0=$(now)
    if ! "$@" >/dev/null 2>"$WORK/stderr"; then cat "$WORK/stderr" >&2; exit 1; fi
    t1=$(now)
    t=$(awk -v a="$t0" -v b="$t1" 'BEGIN { printf "%.6f", b - a }')
    if [ -z "$best" ] || awk -v t="$t" -v b="$best" 'BEGIN { exit !(t < b) }'; then best=$t; fi
  done
  echo "$best"
}
same() { cmp -s "$1" "$2" || { echo "MISMATCH: $1 $2" >&2; exit 1; }; }

URL="http://127.0.0.1:$PORT"
MB_ONE=256
MB_FOUR=256

ours_one=$(best_of "$BIN" "$PORT" "$WORK/ours" /big.bin)
same "$WORK/www/big.bin" "$WORK/ours/big.bin"
curl_one=$(best_of curl -s -o "$WORK/curl/big.bin" "$URL/big.bin")
same "$WORK/www/big.bin" "$WORK/curl/big.bin"

ours_four=$(best_of "$BIN" "$PORT" "$WORK/ours" /part1.bin /part2.bin /part3.bin /part4.bin)
for i in 1 2 3 4; do same "$WORK/www/part$i.bin" "$WORK/ours/part$i.bin"; done
curl_four=$(best_of curl -s --parallel --parallel-max 4 \
  -o "$WORK/curl/part1.bin" "$URL/part1.bin" -o "$WORK/curl/part2.bin" "$URL/part2.bin" \
  -o "$WORK/curl/part3.bin" "$URL/part3.bin" -o "$WORK/curl/part4.bin" "$URL/part4.bin")
for i in 1 2 3 4; do same "$WORK/www/part$i.bin" "$WORK/curl/part$i.bin"; done

rate() { awk -v mb="$1" -v s="$2" 'BEGIN { printf "%.1f", mb / s }'; }
report() {
  local what=$1 mb=$2 ours=$3 theirs=$4
  local r_ours r_curl ratio
  r_ours=$(rate "$mb" "$ours")
  r_curl=$(rate "$mb" "$theirs")
  ratio=$(awk -v a="$theirs" -v b="$ours" 'BEGIN { printf "%.2f", a / b }')
  printf '%-34s net_check %8s MB/s   curl %8s MB/s   ratio %s (target >= 0.8)\n' \
    "$what" "$r_ours" "$r_curl" "$ratio"
}
report "one 256 MB file (slot 2):" $MB_ONE "$ours_one" "$curl_one"
report "four 64 MB files (slots 2-5):" $MB_FOUR "$ours_four" "$curl_four"
