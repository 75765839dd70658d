#!/usr/bin/env bash
# Publishing a 1 GB product of a few thousand files, against Info-ZIP's zip
# run once per file over the same files through xargs -P with every core.
# Both pack every file into an archive of its own at zip's default level; the
# publisher also signs every file and writes the list. Files are read from the
# page cache in both runs. Usage: bench/publish.sh BUILD_DIR
set -euo pipefail
build=$(cd "${1:?usage: $0 BUILD_DIR}" && pwd)
cores=$(nproc)
work=$(mktemp -d /tmp/zephyra_bench_publish_XXXXXX)
trap 'rm -rf "$work"' EXIT

"$build/publish" "$work/Zephyra" 1000000000 3000
files=$(find "$work/Zephyra" -type f | wc -l)
bytes=$(du -sb "$work/Zephyra" | cut -f1)
echo "product: $files files, $bytes bytes, $cores cores"
cat $(find "$work/Zephyra" -type f) >/dev/null   # warm the page cache for both

now() { date +%s.%N; }

t0=$(now)
"$build/zephyra-publish" --quiet --product "$work/Zephyra" --release 1.0 --out "$work/mirror"
t1=$(now)

# zip's side: folders made beforehand, untimed; one zip per file.
(cd "$work" && find Zephyra -type d -print0 | sed -z 's|^|zipout/|' | xargs -0 mkdir -p)
t2=$(now)
(cd "$work" && find Zephyra -type f -print0 |
  xargs -0 -P "$cores" -I{} zip -q -X -j zipout/{}.zip {})
t3=$(now)

ours=$(echo "$t1 - $t0" | bc -l)
theirs=$(echo "$t3 - $t2" | bc -l)
our_bytes=$(du -sb "$work/mirror/1.0" | cut -f1)
zip_bytes=$(du -sb "$work/zipout" | cut -f1)
printf 'zephyra-publish:        %7.2f s  (%d bytes of archives)\n' "$ours" "$our_bytes"
printf 'zip via xargs -P %-2d:    %7.2f s  (%d bytes of archives)\n' "$cores" "$theirs" "$zip_bytes"
printf 'ratio (zip / publish):  %7.2f  (above 1: the publisher is faster)\n' "$(echo "$theirs / $ours" | bc -l)"
