#!/bin/bash
# Signing throughput of calc_file_md5 against md5sum over the same tree.
# Usage: bench/sign_tree.sh BUILD_DIR
# Builds a tree of about 3000 files from 1 KB to 16 MB (about 1 GB) in a
# temporary folder, warms the page cache, times both tools (best of three,
# alternating), checks that they agree on every digest, prints MB/s and the
# ratio ours/md5sum, and removes the tree.
set -euo pipefail

build=${1:?usage: $0 BUILD_DIR}
prog="$build/sign_tree"
[ -x /usr/bin/time ] || { echo "needs /usr/bin/time" >&2; exit 2; }
[ -x "$prog" ] || { echo "missing $prog (build the sign_tree target)" >&2; exit 2; }

tree=$(mktemp -d /tmp/zephyra_sign_tree.XXXXXX)
trap 'rm -rf "$tree" "$tree".time "$tree".ours "$tree".md5sum' EXIT

python3 - "$tree" <<'PY'
import math, os, random, sys
root = sys.argv[1]
rnd = random.Random(85017)
pool = os.urandom(16 * 1024 * 1024 + 4096)
def logu(lo, hi):
    return int(math.exp(rnd.uniform(math.log(lo), math.log(hi))))
sizes = ([logu(1024, 65536) for _ in range(2400)] +
         [logu(65536, 1 << 20) for _ in range(500)] +
         [logu(1 << 20, 16 << 20) for _ in range(100)] +
         [16 << 20] * 20)
rnd.shuffle(sizes)
for i, n in enumerate(sizes):
    d = os.path.join(root, "Set%02d" % (i % 12), "Part%d" % (i % 5))
    os.makedirs(d, exist_ok=True)
    off = rnd.randrange(4096)
    with open(os.path.join(d, "file%04d.dat" % i), "wb") as f:
        f.write(i.to_bytes(4, "little") + pool[off:off + n - 4] if n > 4 else pool[:n])
PY

count=$(find "$tree" -type f | wc -l)
mb=$(du -sb "$tree" | awk '{printf "%.1f", $1/1e6}')
echo "tree: $count files, $mb MB in $tree"

# Warm the page cache so that both tools read from memory.
find "$tree" -type f -print0 | xargs -0 cat >/dev/null
find "$tree" -type f -print0 | xargs -0 cat >/dev/null

# Best of three alternating rounds, by wall time; CPU time (user + system) is
# kept too, since it tells more on a machine shared with other work.
measure() {  # prints "wall cpu"
  /usr/bin/time -f "%e %U %S" -o "$tree.time" "$@" >/dev/null 2>&1
  awk '{printf "%s %.2f\n", $1, $2 + $3}' "$tree.time"
}
min() { echo "if ($1 < $2) $1 else $2" | bc -l; }
ours_wall=999999; ours_cpu=999999; md5_wall=999999; md5_cpu=999999
for round in 1 2 3; do
  read -r w c < <(measure "$prog" "$tree")
  ours_wall=$(min "$w" "$ours_wall"); ours_cpu=$(min "$c" "$ours_cpu")
  read -r w c < <(measure sh -c 'find "$1" -type f -print0 | xargs -0 md5sum' sh "$tree")
  md5_wall=$(min "$w" "$md5_wall"); md5_cpu=$(min "$c" "$md5_cpu")
done
rm -f "$tree.time"

# Every digest must agree.
"$prog" "$tree" --list 2>/dev/null | sort -k2 >"$tree.ours"
find "$tree" -type f -print0 | xargs -0 md5sum | sort -k2 >"$tree.md5sum"
if cmp -s "$tree.ours" "$tree.md5sum"; then
  agree="yes ($(wc -l <"$tree.ours") files)"
else
  agree="NO"
  diff "$tree.ours" "$tree.md5sum" | head -5
fi
rm -f "$tree.ours" "$tree.md5sum"

rate() { echo "$mb / $1" | bc -l; }
printf "calc_file_md5: %6.3f s wall %7.1f MB/s   %6.2f s cpu %7.1f MB/s\n" \
  "$ours_wall" "$(rate "$ours_wall")" "$ours_cpu" "$(rate "$ours_cpu")"
printf "md5sum:        %6.3f s wall %7.1f MB/s   %6.2f s cpu %7.1f MB/s\n" \
  "$md5_wall" "$(rate "$md5_wall")" "$md5_cpu" "$(rate "$md5_cpu")"
printf "digests agree: %s\n" "$agree"
printf "ratio ours/md5sum: %.3f by wall time, %.3f by cpu time (target >= 0.95)\n" \
  "$(echo "$md5_wall / $ours_wall" | bc -l)" "$(echo "$md5_cpu / $ours_cpu" | bc -l)"
[ "$agree" != "NO" ]
