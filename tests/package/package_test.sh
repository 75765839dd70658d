#!/bin/bash
# What a user meets after `make install` or `make deb`.
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
check() {  # check WHAT COMMAND...
  local what=$1; shift
  if "$@"; then echo "ok: $what"; else fail "$what"; return 1; fi
}

root="$tmp/root"
DESTDIR="$root" cmake --install "$build" --prefix /usr/local >/dev/null || fail "cmake --install"
layout="bin/zephyra-installer
bin/zephyra-publish
share/applications/zephyra-installer.desktop
share/icons/hicolor/128x128/apps/zephyra-installer.png
share/icons/hicolor/256x256/apps/zephyra-installer.png
share/icons/hicolor/48x48/apps/zephyra-installer.png
share/man/man1/zephyra-installer.1
share/man/man1/zephyra-publish.1"
check "installed layout" diff <(sed 's,^,./usr/local/,' <<<"$layout") <(cd "$root" && find . ! -type d | sort)
share="$root/usr/local/share"
for n in 48 128 256; do
  check "icon ${n}x${n} is a PNG of that size" \
    grep -q "PNG image data, $n x $n" <(file "$share/icons/hicolor/${n}x${n}/apps/zephyra-installer.png")
done
check "desktop-file-validate" desktop-file-validate "$share/applications/zephyra-installer.desktop"

# Every option --help prints is in the manual page, so the two can't drift apart.
bin="$root/usr/local/bin"
options_of() { grep -oE '^[[:space:]]*-{1,2}[A-Za-z][A-Za-z0-9_-]*' | tr -d ' ' | sort -u; }
compare_help() {  # compare_help PROGRAM HELP_TEXT
  local page="$share/man/man1/$1.1" text warnings missing=""
  warnings=$(groff -man -ww -z "$page" 2>&1)
  [ -z "$warnings" ] || echo "$warnings" >&2
  text=$(sed -e 's/\\-/-/g' -e 's/\\f[BIRP]//g' -e 's/\\c$//' "$page")
  for opt in $(options_of <<<"$2"); do
    grep -Eq -- "(^|[^A-Za-z0-9_-])$opt([^A-Za-z0-9_]|$)" <<<"$text" || missing="$missing $opt"
  done
  [ -z "$missing" ] || echo "$1.1 lacks:$missing" >&2
  [ -z "$missing$warnings" ]
}
help=$("$bin/zephyra-installer" --console --help)
check "no log beside the installed program after --help" test ! -e "$bin/Log.txt"
check "the help is read as options" test "$(options_of <<<"$help" | wc -l)" -ge 20
check "zephyra-installer.1 is clean and covers --help" compare_help zephyra-installer "$help"
check "zephyra-publish.1 is clean and covers --help" compare_help zephyra-publish "$("$bin/zephyra-publish" --help)"

# The installed programs publish and install a release over nginx, as a user
# who can't write the program's folder (root is made nobody).
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
home="$tmp/home"
dest="$tmp/dest"
mkdir -p "$home/.zephyra" "$dest"
printf 'I\n8500 version\n_proxy_host 127.0.0.1\n_proxy_port %s\n_proxy_port_int %s\n' "$nginx_port" \
  "$nginx_port" >"$home/.zephyra/Zephyra Installer.prf"
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

# make deb, into a folder of the test's own: runtime libraries only, the
# installed layout under /usr, contents that run, lintian clean.
cpack --config "$build/CPackConfig.cmake" -B "$tmp/deb" >"$tmp/cpack.out" 2>&1 || { fail "cpack"; cat "$tmp/cpack.out" >&2; }
deb=$(ls "$tmp"/deb/*.deb 2>/dev/null | head -1)
if [ -n "$deb" ]; then
  depends=$(dpkg-deb --field "$deb" Depends | tr ',|' '\n\n' | sed -e 's/(.*)//' -e 's/[[:space:]]//g' | sort -u)
  for lib in 'zlib1g' 'libpng16-16' 'libminizip1' 'libx11-6' 'libglu1-mesa|libglu1' 'libgl1|libopengl0|libglx0'; do
    check "the package depends on $lib" grep -Eqx "$lib" <<<"$depends"
  done
  doc="share/doc/zephyra-installer/changelog.gz
share/doc/zephyra-installer/copyright"
  check "the package holds the layout, pages compressed, and its doc" \
    diff <(sed -e 's,^,./usr/,' -e 's,\.1$,.1.gz,' <<<"$layout"$'\n'"$doc" | sort) \
    <(dpkg-deb -c "$deb" | awk '$1 !~ /^d/ {print $6}' | sort)
  dpkg-deb -x "$deb" "$tmp/x"
  for program in zephyra-installer zephyra-publish; do
    check "unpacked $program runs" grep -Eq "^$program 8\.50 build [0-9]+ \(compiled on " \
      <("$tmp/x/usr/bin/$program" --version)
  done
  lintian "$deb" >"$tmp/lintian.out" 2>&1
  check "lintian reports no error" test -z "$(grep '^E:' "$tmp/lintian.out")" || cat "$tmp/lintian.out" >&2
else
  fail "no package made"
fi

echo "$failures failure(s)"
[ "$failures" -eq 0 ]
