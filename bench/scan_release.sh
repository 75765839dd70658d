#!/bin/sh
# Times read_directory over a generated release of about 20,000 files (1 GB)
# against md5sum over the same files, page cache warm. Usage: scan_release.sh <build dir>
set -e
BUILD=$(cd "${1:?build dir}" && pwd)
TOOL="$BUILD/scan_release"
FILES=${FILES:-20000}
MEGS=${MEGS:-1000}

WORK=$(mktemp -d /tmp/zephyra_scan_bench_XXXXXX)
trap 'rm -rf "$WORK"' EXIT INT TERM

mkdir -p "$WORK/release"
"$TOOL" gen "$WORK/release/Zephyra" "$FILES" "$MEGS"
cd "$WORK/release"
find Zephyra -type f | sort -V > "$WORK/files.txt"
# The list carries the real md5 of every file; this pass also warms the cache.
tr '\n' '\0' < "$WORK/files.txt" | xargs -0 md5sum > "$WORK/sums.txt"
"$TOOL" list "$WORK/sums.txt" "$WORK/directory.txt"

now() { date +%s.%N; }
best_md5=""
best_scan=""
for round in 1 2 3; do
  t0=$(now)
  tr '\n' '\0' < "$WORK/files.txt" | xargs -0 md5sum > /dev/null
  t1=$(now)
  md5=$(echo "$t1 - $t0" | bc -l)
  line=$("$TOOL" scan "$WORK/directory.txt" "$WORK/release/Zephyra/")
  echo "round $round: md5sum=$(printf %.3f "$md5") s; read_directory: $line"
  scan=$(echo "$line" | sed 's/.*total=//')
  if [ -z "$best_md5" ] || [ "$(echo "$md5 < $best_md5" | bc -l)" = 1 ]; then best_md5=$md5; fi
  if [ -z "$best_scan" ] || [ "$(echo "$scan < $best_scan" | bc -l)" = 1 ]; then best_scan=$scan; fi
done

printf 'md5sum:          %.3f s\n' "$best_md5"
printf 'read_directory:  %.3f s (parse and scan)\n' "$best_scan"
printf 'ratio md5sum/read_directory: %.2f (target >= 0.9)\n' "$(echo "$best_md5 / $best_scan" | bc -l)"

mkdir -p "$WORK/parse"
"$TOOL" parse 200000 "$WORK/parse"
