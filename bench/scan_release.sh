#!/usr/bin/env bash
# Times read_directory over a generated release of about 20,000 files (1 GB)
# against md5sum over the same files, once as one process and once on every
# core (xargs -P), page cache warm; the scan also runs on one thread, to show
# what the cores give. Best of three alternating rounds by wall time; CPU
# time (user + system) is shown too, since the machine may be shared.
# Usage: scan_release.sh <build dir>
set -e
BUILD=$(cd "${1:?build dir}" && pwd)
TOOL="$BUILD/scan_release"
FILES=${FILES:-20000}
MEGS=${MEGS:-1000}
ROUNDS=${ROUNDS:-3}
CORES=$(nproc)

WORK=$(mktemp -d /tmp/zephyra_scan_bench_XXXXXX)
trap 'rm -rf "$WORK"' EXIT INT TERM

mkdir -p "$WORK/release"
"$TOOL" gen "$WORK/release/Zephyra" "$FILES" "$MEGS"
cd "$WORK/release"
find Zephyra -type f | sort -V > "$WORK/files.txt"
tr '\n' '\0' < "$WORK/files.txt" > "$WORK/files.0"
# The list carries the real md5 of every file; this pass also warms the cache.
xargs -0 md5sum < "$WORK/files.0" > "$WORK/sums.txt"
"$TOOL" list "$WORK/sums.txt" "$WORK/directory.txt"

# Small batches, so that no md5sum of the parallel run is left working alone.
BATCH=$((FILES / (CORES * 16) + 1))
md5_one() { xargs -0 md5sum < "$WORK/files.0" > /dev/null; }
md5_par() { xargs -0 -P"$CORES" -n"$BATCH" md5sum < "$WORK/files.0" > /dev/null; }
scan() { "$TOOL" scan "$WORK/directory.txt" "$WORK/release/Zephyra/" "$1" > "$WORK/scan.out"; }

# Runs "$@" and prints "wall cpu" in seconds.
measure() {
  local TIMEFORMAT='%R %U %S'
  { time "$@"; } 2> "$WORK/time"
  awk '{ printf "%s %.2f\n", $1, $2 + $3 }' "$WORK/time"
}
less() { awk -v a="$1" -v b="$2" 'BEGIN { exit !(a < b) }'; }

b_one=999999; c_one=0; b_par=999999; c_par=0; b_scan=999999; c_scan=0; b_scan1=999999; c_scan1=0
round=1
while [ $round -le "$ROUNDS" ]; do
  set -- $(measure md5_one); less "$1" "$b_one" && b_one=$1 && c_one=$2; r_one=$1
  set -- $(measure md5_par); less "$1" "$b_par" && b_par=$1 && c_par=$2; r_par=$1
  set -- $(measure scan 0); less "$1" "$b_scan" && b_scan=$1 && c_scan=$2; r_scan=$1
  grep -q ' mismatched=0 ' "$WORK/scan.out" || { cat "$WORK/scan.out" >&2; echo "the scan disagrees with md5sum" >&2; exit 1; }
  set -- $(measure scan 1); less "$1" "$b_scan1" && b_scan1=$1 && c_scan1=$2; r_scan1=$1
  echo "round $round: md5sum $r_one s, md5sum -P$CORES $r_par s, read_directory $r_scan s, on one thread $r_scan1 s; load$(uptime | sed 's/.*load average//')"
  round=$((round + 1))
done

echo "$FILES files, $MEGS MB, $CORES cores; best of $ROUNDS by wall time:"
printf 'md5sum (one process):        %6.2f s wall %6.2f s cpu\n' "$b_one" "$c_one"
printf 'md5sum (xargs -P%d):          %6.2f s wall %6.2f s cpu\n' "$CORES" "$b_par" "$c_par"
printf 'read_directory:              %6.2f s wall %6.2f s cpu (parse and scan)\n' "$b_scan" "$c_scan"
printf 'read_directory, one thread:  %6.2f s wall %6.2f s cpu\n' "$b_scan1" "$c_scan1"
ratio() { awk -v a="$1" -v b="$2" 'BEGIN { printf "%.2f", a / b }'; }
echo "ratio md5sum/read_directory: $(ratio "$b_one" "$b_scan") (target >= 1.8 on 2 cores)"
echo "ratio md5sum -P$CORES/read_directory: $(ratio "$b_par" "$b_scan") (target >= 0.9)"

mkdir -p "$WORK/parse"
"$TOOL" parse 200000 "$WORK/parse"
