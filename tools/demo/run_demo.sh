#!/bin/bash
# The installer's main job, end to end on this machine: a generated demo
# product is published into BUILD/demo-mirror, nginx serves it on loopback
# under the maker's and the mirrors' host names, and the installer, with a
# HOME of its own whose preferences point the proxy at nginx, installs it
# into BUILD/demo-install. The user's own preferences are never touched.
# Usage: run_demo.sh BUILD [window|console|auto] [installer options...]
# auto (the default) opens the window when a display answers, else runs the
# console front end.
set -euo pipefail

build=$(cd "${1:-build}" && pwd)
shift || true
mode=auto
case "${1:-}" in window|console|auto) mode=$1; shift ;; esac
if [ "$mode" = auto ]; then
  if [ -n "${DISPLAY:-}" ] && xdpyinfo >/dev/null 2>&1; then
    mode=window
  else
    echo "run_demo: no display to open a window on (DISPLAY is '${DISPLAY:-}'); running the console demo instead."
    mode=console
  fi
fi
release=8.60r1
product="$build/demo-product/Zephyra"
mirror="$build/demo-mirror"
install="$build/demo-install"
home="$build/demo-home"
run="$build/demo-nginx"

for tool in /usr/sbin/nginx "$build/zephyra-publish" "$build/zephyra-installer"; do
  [ -x "$tool" ] || { echo "run_demo: $tool is missing (make build, make deps)" >&2; exit 1; }
done

# A few MB in the product's folders, and a program of this platform's own so
# the finished folder takes the release's name.
rm -rf "$build/demo-product" "$mirror" "$install" "$home" "$run"
mkdir -p "$product"/{Airfoils,Instructions,Output/logbooks,Resources/fonts,Resources/scenery}
for i in 1 2 3 4 5 6; do head -c $((400000 * i)) /dev/urandom > "$product/Resources/scenery/tile$i.dat"; done
for i in $(seq 1 20); do seq 1 $((i * 500)) > "$product/Airfoils/wing$i.afl"; done
echo "Welcome to Zephyra $release." > "$product/Instructions/Read Me.txt"
echo "fonts" > "$product/Resources/fonts/fontmap.txt"
: > "$product/Output/logbooks/empty.txt"
printf '#!/bin/sh\necho "Zephyra %s"\n' "$release" > "$product/Zephyra Linux"
chmod 755 "$product/Zephyra Linux"
ln -s "Read Me.txt" "$product/Instructions/readme"

"$build/zephyra-publish" --product "$product" --release "$release" --out "$mirror" --quiet \
  --mirror "mirror1.zephyra.example,/,Demo mirror one" \
  --mirror "mirror2.zephyra.example,/,Demo mirror two" \
  --platform "Zephyra Linux=3"

# nginx on a free loopback port, one virtual host per name, all from the mirror.
mkdir -p "$run"
. "$(dirname "$0")/nginx.sh"
trap stop_mirror_nginx EXIT INT TERM
if ! start_mirror_nginx "$run" "$mirror" www.vantrell.example mirror1.zephyra.example \
    mirror2.zephyra.example; then
  echo "run_demo: nginx did not start" >&2; cat "$run/error.log" >&2 || true; exit 1
fi
port=$nginx_port

mkdir -p "$home/.zephyra" "$install"
printf 'I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port %s\n_proxy_port_int %s\n' "$port" "$port" \
  > "$home/.zephyra/Zephyra Installer.prf"

echo "Demo mirror at 127.0.0.1:$port; installing $release into $install"
status=0
if [ "$mode" = window ]; then
  # The graphics probe counts Mesa's and most current drivers' versions as
  # too old; the chooser opens first, since the folder holds no copy yet.
  HOME="$home" "$build/zephyra-installer" -path "$install/" --force_run "$@" || status=$?
else
  HOME="$home" "$build/zephyra-installer" -path "$install/" --console "$@" || status=$?
fi
echo "Installer exit status: $status"
[ -d "$install/$release" ] && echo "Installed: $install/$release"
exit $status
