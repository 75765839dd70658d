#!/usr/bin/env bash
# A whole new installation of a generated release of about 500 MB (a few
# large files, many small ones) from nginx on loopback, against curl fetching
# the same archives four at a time plus unzip unpacking them. Also the
# installer's peak memory against the largest member plus 64 MB.
# Usage: install_release.sh BUILD
set -euo pipefail

BUILD=$(cd "${1:-build}" && pwd)
NGINX=/usr/sbin/nginx
REL=9.10r1
for tool in "$NGINX" "$BUILD/zephyra-publish" "$BUILD/zephyra-installer" /usr/bin/time; do
  [ -x "$tool" ] || { echo "missing $tool" >&2; exit 1; }
done
for tool in curl unzip python3; do command -v $tool >/dev/null || { echo "missing $tool" >&2; exit 1; }; done

WORK=$(mktemp -d /tmp/zephyra_install_release_XXXXXX)
NGINX_PID=""
cleanup() {
  if [ -n "$NGINX_PID" ]; then kill "$NGINX_PID" 2>/dev/null || true; wait "$NGINX_PID" 2>/dev/null || true; fi
  rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

PRODUCT="$WORK/product/Zephyra"
MIRROR="$WORK/mirror"

# Four large incompressible files (304 MB) and about 1900 small ones
# (about 200 MB, half text that deflates, half noise) in the four folders
# that mark a copy of the product.
python3 "$(dirname "$0")/lib/make_product.py" "$PRODUCT" 500 112,96,56,40 200
TOTAL_MB=$(du -sm "$PRODUCT" | cut -f1)
FILES=$(find "$PRODUCT" -type f | wc -l)
LARGEST=$(find "$PRODUCT" -type f -printf '%s\n' | sort -n | tail -1)

"$BUILD/zephyra-publish" --product "$PRODUCT" --release "$REL" --out "$MIRROR" --quiet \
  --mirror "mirror1.bench.example,/,Bench mirror"

# nginx on loopback serving the mirror, and a HOME pointing the proxy at it.
. "$(dirname "$0")/lib/loopback_mirror.bash"
start_loopback_mirror

now() { date +%s.%N; }
elapsed() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", b - a }'; }

sync
t0=$(now)
if ! HOME="$HOME_DIR" TMPDIR="$WORK/tmp" /usr/bin/time -f %M -o "$WORK/peak_kb" \
    "$BUILD/zephyra-installer" -path "$WORK/install/" --console --agree --changed=overwrite \
    --server=www.bench.example </dev/null >"$WORK/installer.log" 2>&1; then
  tail -20 "$WORK/installer.log" >&2; echo "the installer failed" >&2; exit 1
fi
t1=$(now)
T_OURS=$(elapsed "$t0" "$t1")
INSTALLED="$WORK/install/Zephyra"
[ -d "$INSTALLED" ] || INSTALLED="$WORK/install/$REL"
# The installer adds the product's empty standard folders; anything else is a fault.
if diff -rq "$PRODUCT" "$INSTALLED" | grep -v "^Only in $INSTALLED" >&2; then
  echo "installed tree differs from the product" >&2; exit 1
fi

# The same archives through the same nginx: curl four at a time, then unzip.
CFG="$WORK/curl.cfg"
ZIPS="$WORK/zips.txt"
(cd "$MIRROR/$REL" && find Zephyra -type f -name '*.zip' | sort) > "$ZIPS"
while IFS= read -r z; do
  printf 'url = "http://127.0.0.1:%s/%s/%s"\noutput = "%s/curl_dl/%s"\n' "$PORT" "$REL" "$z" "$WORK" "$z"
done < "$ZIPS" > "$CFG"
mkdir -p "$WORK/curl_out"
sync
t0=$(now)
curl -sS -f --no-progress-meter --parallel --parallel-max 4 --create-dirs -K "$CFG"
tc=$(now)
# No forks in the loop but unzip's own, so the shell costs the pipeline little.
while IFS= read -r z; do
  d=${z%/*}
  [ -d "$WORK/curl_out/$d" ] || mkdir -p "$WORK/curl_out/$d"
  unzip -o -q "$WORK/curl_dl/$z" -d "$WORK/curl_out/$d"
done < "$ZIPS"
t1=$(now)
T_PIPE=$(elapsed "$t0" "$t1")
T_CURL=$(elapsed "$t0" "$tc")
T_UNZIP=$(elapsed "$tc" "$t1")
diff -rq "$PRODUCT" "$WORK/curl_out/Zephyra" >&2 || { echo "curl+unzip tree differs from the product" >&2; exit 1; }

PEAK_MB=$(awk -v k="$(tail -1 "$WORK/peak_kb")" 'BEGIN { printf "%.1f", k / 1024 }')
LIMIT_MB=$(awk -v b="$LARGEST" 'BEGIN { printf "%.1f", b / 1048576 + 64 }')
RATIO=$(awk -v a="$T_PIPE" -v b="$T_OURS" 'BEGIN { printf "%.2f", a / b }')
echo "release: $TOTAL_MB MB in $FILES files, largest $(awk -v b="$LARGEST" 'BEGIN { printf "%.1f", b / 1048576 }') MB"
printf 'installer         %8s s\n' "$T_OURS"
printf 'curl -P4 + unzip  %8s s   (curl %s s, unzip %s s)\n' "$T_PIPE" "$T_CURL" "$T_UNZIP"
printf 'ratio (pipeline time / installer time) %s (target >= 0.7)\n' "$RATIO"
printf 'installer peak memory %s MB (target <= %s MB, largest member + 64 MB)\n' "$PEAK_MB" "$LIMIT_MB"
