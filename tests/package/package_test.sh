#!/bin/bash
# What a user meets after `make install` or `make deb`: the installed layout,
# the installed programs answering and installing from a real mirror, the
# desktop entry, the manual pages against --help, and the Debian package.
# Usage: package_test.sh BUILD SOURCE
set -uo pipefail

build=$(cd "$1" && pwd)
src=$(cd "$2" && pwd)
tmp=$(mktemp -d /tmp/zephyra_package_XXXXXX)
chmod 755 "$tmp"
nginx_pid=""
cleanup() {
  if [ -n "$nginx_pid" ]; then kill "$nginx_pid" 2>/dev/null; wait "$nginx_pid" 2>/dev/null; fi
  rm -rf "$tmp"
}
trap cleanup EXIT

failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
pass() { echo "ok: $*"; }
check() {  # check WHAT COMMAND...
  local what=$1; shift
  if "$@"; then pass "$what"; else fail "$what"; return 1; fi
}

# ---- make install into a DESTDIR lays out exactly these files
root="$tmp/root"
DESTDIR="$root" cmake --install "$build" --prefix /usr/local >/dev/null || fail "cmake --install"
expected="./usr/local/bin/zephyra-installer
./usr/local/bin/zephyra-publish
./usr/local/share/applications/zephyra-installer.desktop
./usr/local/share/icons/hicolor/128x128/apps/zephyra-installer.png
./usr/local/share/icons/hicolor/256x256/apps/zephyra-installer.png
./usr/local/share/icons/hicolor/48x48/apps/zephyra-installer.png
./usr/local/share/man/man1/zephyra-installer.1
./usr/local/share/man/man1/zephyra-publish.1"
check "installed layout" diff <(echo "$expected") <(cd "$root" && find . ! -type d | sort)
for n in 48 128 256; do
  check "icon ${n}x${n} is a PNG of that size" \
    grep -q "PNG image data, $n x $n" <(file "$root/usr/local/share/icons/hicolor/${n}x${n}/apps/zephyra-installer.png")
done

bin="$root/usr/local/bin"
# Both answers come before the log is opened, so the folder stays clean.
check "installer --version" grep -Eq '^zephyra-installer 8\.50 build [0-9]+ \(compiled on ' <("$bin/zephyra-installer" --version)
check "publisher --version" grep -Eq '^zephyra-publish 8\.50 build [0-9]+ \(compiled on ' <("$bin/zephyra-publish" --version)
help=$("$bin/zephyra-installer" --console --help)
check "installer --console --help ends with its own options" grep -q '^EXIT STATUS OF --console' <<<"$help"
check "no log beside the installed program after --version and --help" test ! -e "$bin/Log.txt"

# ---- desktop entry and manual pages
check "desktop-file-validate" desktop-file-validate "$root/usr/local/share/applications/zephyra-installer.desktop"
for page in zephyra-installer zephyra-publish; do
  check "groff sees no fault in $page.1" test -z "$(groff -man -ww -z "$root/usr/local/share/man/man1/$page.1" 2>&1)"
done

# Every option --help prints is in the manual page, so the two can't drift apart.
options_of() { grep -oE '^[[:space:]]*-{1,2}[A-Za-z][A-Za-z0-9_-]*' | tr -d ' ' | sort -u; }
page_text() { sed -e 's/\\-/-/g' -e 's/\\f[BIRP]//g' -e 's/\\c$//' "$1"; }
compare_help() {  # compare_help PAGE HELP_TEXT
  local text missing=""
  text=$(page_text "$root/usr/local/share/man/man1/$1.1")
  for opt in $(options_of <<<"$2"); do
    grep -Eq -- "(^|[^A-Za-z0-9_-])$opt([^A-Za-z0-9_]|$)" <<<"$text" || missing="$missing $opt"
  done
  [ -z "$missing" ] || echo "$1.1 lacks:$missing" >&2
  [ -z "$missing" ]
}
check "zephyra-installer.1 covers --help" compare_help zephyra-installer "$help"
check "zephyra-publish.1 covers --help" compare_help zephyra-publish "$("$bin/zephyra-publish" --help)"
check "the help is read as options" test "$(options_of <<<"$help" | wc -l)" -ge 20

# ---- the installed programs publish and install a release over nginx
release=8.60r1
product="$tmp/product/Zephyra"
mirror="$tmp/mirror"
mkdir -p "$product/Resources" "$product/Instructions"
head -c 300000 /dev/urandom >"$product/Resources/tile.dat"
seq 1 4000 >"$product/Instructions/Read Me.txt"
printf '#!/bin/sh\necho "Zephyra %s"\n' "$release" >"$product/Zephyra Linux"
chmod 755 "$product/Zephyra Linux"
"$bin/zephyra-publish" --product "$product" --release "$release" --out "$mirror" --quiet \
  --mirror "mirror1.zephyra.example,/,Test mirror" --platform "Zephyra Linux=3" >/dev/null ||
  fail "publishing with the installed publisher"

# shellcheck source=../../tools/demo/nginx.sh
. "$src/tools/demo/nginx.sh"
start_mirror_nginx "$tmp/nginx" "$mirror" www.vantrell.example mirror1.zephyra.example ||
  fail "nginx did not start"
port=$nginx_port

# A user who can't write the program's folder, as with a real /usr/local/bin:
# root is made nobody; anyone else loses write access to the folder.
home="$tmp/home"
dest="$tmp/dest"
mkdir -p "$home/.zephyra" "$dest"
printf 'I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port %s\n_proxy_port_int %s\n' "$port" "$port" \
  >"$home/.zephyra/Zephyra Installer.prf"
as_user=()
if [ "$(id -u)" -eq 0 ]; then
  chown -R nobody:nogroup "$home" "$dest"
  as_user=(setpriv --reuid=nobody --regid=nogroup --clear-groups)
else
  chmod a-w "$bin"
fi
status=0
"${as_user[@]}" env HOME="$home" "$bin/zephyra-installer" -path "$dest/" --console --agree >"$tmp/console.out" 2>&1 ||
  status=$?
check "console install from the installed program ends with 0" test "$status" -eq 0 ||
  cat "$tmp/console.out" >&2
files_of() { (cd "$1" && find . -type f -exec md5sum {} + | sort -k 2); }
check "the product arrived whole, in the release's folder" diff <(files_of "$product") <(files_of "$dest/$release")
check "the log went to the user's folder" grep -q '^console run ends with status 0' "$home/.zephyra/Log.txt"
check "and not beside the program" test ! -e "$bin/Log.txt"
chmod u+w "$bin"

# ---- make deb: runtime libraries only, contents that run, lintian clean
# The same as `make deb`, into a folder of the test's own.
cpack --config "$build/CPackConfig.cmake" -B "$tmp/deb" >"$tmp/cpack.out" 2>&1 || { fail "cpack"; cat "$tmp/cpack.out" >&2; }
deb=$(ls "$tmp"/deb/*.deb 2>/dev/null | head -1)
if [ -n "$deb" ]; then
  depends=$(dpkg-deb --field "$deb" Depends | tr ',|' '\n\n' | sed -e 's/(.*)//' -e 's/[[:space:]]//g' | sort -u)
  for lib in 'zlib1g' 'libpng16-16' 'libminizip1' 'libx11-6' 'libglu1-mesa|libglu1' 'libgl1|libopengl0|libglx0'; do
    check "the package depends on $lib" grep -Eqx "$lib" <<<"$depends"
  done
  check "no build tool among the dependencies" \
    test -z "$(grep -E -- '-dev$|^(g\+\+.*|gcc.*|cpp|cmake|ninja-build|make|pkg-config|ccache|binutils|googletest|groff|lintian|desktop-file-utils|nginx.*|zip|unzip|curl|xvfb|python3)$' <<<"$depends")"
  contents=$(dpkg-deb -c "$deb" | awk '{print $6}')
  for f in usr/bin/zephyra-installer usr/bin/zephyra-publish usr/share/applications/zephyra-installer.desktop \
    usr/share/icons/hicolor/48x48/apps/zephyra-installer.png usr/share/man/man1/zephyra-installer.1.gz \
    usr/share/man/man1/zephyra-publish.1.gz; do
    check "the package holds $f" grep -qx "./$f" <<<"$contents"
  done
  dpkg-deb -x "$deb" "$tmp/x"
  check "unpacked installer runs" grep -q '^zephyra-installer 8\.50' <("$tmp/x/usr/bin/zephyra-installer" --version)
  check "unpacked publisher runs" grep -q '^zephyra-publish 8\.50' <("$tmp/x/usr/bin/zephyra-publish" --version)
  lintian "$deb" >"$tmp/lintian.out" 2>&1
  check "lintian reports no error" test -z "$(grep '^E:' "$tmp/lintian.out")" || cat "$tmp/lintian.out" >&2
else
  fail "no package made"
fi

echo "$failures failure(s)"
[ "$failures" -eq 0 ]
