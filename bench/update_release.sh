#!/usr/bin/env bash
# An update of an installed 1 GB tree to a release in which 1% of the bytes
# changed (a few dozen small files rewritten), from nginx on loopback, against
# md5sum reading the same tree: the installer has to sign every file to know
# what changed, so md5sum over a warm page cache is the floor.
# Usage: update_release.sh BUILD
set -euo pipefail

BUILD=$(cd "${1:-build}" && pwd)
NGINX=/usr/sbin/nginx
REL_A=9.20r1
REL_B=9.20r2
for tool in "$NGINX" "$BUILD/zephyra-publish" "$BUILD/zephyra-installer"; do
  [ -x "$tool" ] || { echo "missing $tool" >&2; exit 1; }
done
for tool in md5sum python3; do command -v $tool >/dev/null || { echo "missing $tool" >&2; exit 1; }; done

WORK=$(mktemp -d /tmp/zephyra_update_release_XXXXXX)
NGINX_PID=""
cleanup() {
  if [ -n "$NGINX_PID" ]; then kill "$NGINX_PID" 2>/dev/null || true; wait "$NGINX_PID" 2>/dev/null || true; fi
  rm -rf "$WORK"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

PRODUCT_A="$WORK/a/Zephyra"
PRODUCT_B="$WORK/b/Zephyra"
MIRROR="$WORK/mirror"

# Six large incompressible files (768 MB) and about 2400 small ones (256 MB,
# half text, half noise) in the four folders that mark a copy of the product.
python3 "$(dirname "$0")/lib/make_product.py" "$PRODUCT_A" 1000 128,128,128,128,128,128 256
TOTAL_MB=$(du -sm "$PRODUCT_A" | cut -f1)
FILES=$(find "$PRODUCT_A" -type f | wc -l)

"$BUILD/zephyra-publish" --product "$PRODUCT_A" --release "$REL_A" --out "$MIRROR" --quiet \
  --mirror "mirror1.bench.example,/,Bench mirror"

# nginx on loopback serving the mirror, and a HOME pointing the proxy at it.
. "$(dirname "$0")/lib/loopback_mirror.bash"
start_loopback_mirror

run_installer() {
  if ! HOME="$HOME_DIR" TMPDIR="$WORK/tmp" "$BUILD/zephyra-installer" -path "$1" --console --agree \
      --changed=overwrite --server=www.bench.example </dev/null >"$WORK/installer.log" 2>&1; then
    tail -20 "$WORK/installer.log" >&2; echo "the installer failed" >&2; exit 1
  fi
}
# The installer adds the product's empty standard folders; anything else is a fault.
same_tree() {
  if diff -rq "$1" "$2" | grep -v "^Only in $2" >&2; then echo "$2 differs from $1" >&2; exit 1; fi
}

run_installer "$WORK/install/"
INSTALLED="$WORK/install/Zephyra"
[ -d "$INSTALLED" ] || INSTALLED="$WORK/install/$REL_A"
same_tree "$PRODUCT_A" "$INSTALLED"

# Release B: A's files hard-linked, then small files rewritten (never edited
# through the link, so A stays whole) until 1% of the bytes changed.
mkdir -p "$WORK/b"
cp -al "$PRODUCT_A" "$PRODUCT_B"
CHANGED=$(python3 - "$PRODUCT_B" <<'PY'
import os, random, sys
root = sys.argv[1]
rnd = random.Random(2000)
paths = []
total = 0
for d, _, names in os.walk(root):
    for n in names:
        p = os.path.join(d, n)
        total += os.path.getsize(p)
        if n.startswith("item"):
            paths.append(p)
paths.sort()
rnd.shuffle(paths)
changed = files = 0
for p in paths:
    if changed >= total // 100:
        break
    size = os.path.getsize(p)
    os.unlink(p)
    with open(p, "wb") as f:
        f.write(os.urandom(size))
    changed += size
    files += 1
print("%d files, %.1f MB" % (files, changed / (1 << 20)))
PY
)
"$BUILD/zephyra-publish" --product "$PRODUCT_B" --release "$REL_B" --out "$MIRROR" --quiet \
  --previous "$MIRROR/$REL_A/directory.txt.zip" --mirror "mirror1.bench.example,/,Bench mirror"

# All timings over a warm page cache.
find "$INSTALLED" -type f -print0 | xargs -0 cat >/dev/null
sync
# Runs "$@"; sets WALL, and CPU as user plus system time of it and its children.
measure() {
  local TIMEFORMAT='%R %U %S' user sys
  { time "$@" 2>&3; } 3>&2 2>"$WORK/time"
  read -r WALL user sys <"$WORK/time"
  CPU=$(awk -v u="$user" -v s="$sys" 'BEGIN { printf "%.2f", u + s }')
}
CORES=$(nproc)
md5_one() { find "$INSTALLED" -type f -print0 | xargs -0 md5sum >/dev/null; }
# md5sum on every core, in small batches so that none is left working alone.
md5_par() { find "$INSTALLED" -type f -print0 | xargs -0 -P"$CORES" -n$((FILES / (CORES * 16) + 1)) md5sum >/dev/null; }

measure run_installer "$INSTALLED"
T_OURS=$WALL C_OURS=$CPU
[ -d "$INSTALLED" ] || INSTALLED="$WORK/install/$REL_B"
same_tree "$PRODUCT_B" "$INSTALLED"
measure md5_one
T_MD5=$WALL C_MD5=$CPU
measure md5_par
T_MD5P=$WALL C_MD5P=$CPU

ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
echo "tree: $TOTAL_MB MB in $FILES files; changed: $CHANGED; $CORES cores; load$(uptime | sed 's/.*load average//')"
printf 'installer update    %6s s wall %6s s cpu\n' "$T_OURS" "$C_OURS"
printf 'md5sum of tree      %6s s wall %6s s cpu\n' "$T_MD5" "$C_MD5"
printf 'md5sum -P%d of tree  %6s s wall %6s s cpu\n' "$CORES" "$T_MD5P" "$C_MD5P"
echo "ratio (md5sum time / update time) $(ratio "$T_MD5" "$T_OURS") (target >= 1.7 on 2 cores)"
echo "ratio (md5sum -P$CORES time / update time) $(ratio "$T_MD5P" "$T_OURS")"
