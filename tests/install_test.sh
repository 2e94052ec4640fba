#!/usr/bin/env bash
# Installs the Debian packages where a user would have them, builds hosts in C and in C++ with
# pkg-config and with CMake, runs them, and purges the packages: install_test.sh BUILD
#
# All of it in a private mount namespace with overlays over the system's folders; the machine keeps
# nothing. Only root can let dpkg do it: for anybody else the packages are unpacked over them.
set -euo pipefail
shopt -s nullglob
source=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)

if [ -z "${YRA_INSTALL_INSIDE:-}" ]; then
  (cd "$build" && cpack -G DEB >cpack.log 2>&1) || { cat "$build/cpack.log"; exit 1; }
  how=(unshare --mount --propagation private)
  as_root=yes
  [ "$(id -u)" = 0 ] || { how+=(--map-root-user); as_root=; }
  YRA_INSTALL_INSIDE=1 as_root=$as_root exec "${how[@]}" "$0" "$build"
fi

fail() { printf 'FAILED: %s\n' "$*"; exit 1; }

scratch=/mnt
packages=$scratch/packages
mount -t tmpfs tmpfs $scratch
mkdir "$packages"
cp "$build"/packages/*.deb "$packages"
cd "$scratch"

# There is no bug that asks for the packages.
lintian --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs --tag-display-limit 0 \
  "$packages"/*.deb >lintian.log 2>&1 || { cat lintian.log; fail "lintian complains"; }

for dir in usr etc opt var; do
  mkdir -p {root,work}/$dir
  mount -t overlay -o lowerdir=/$dir,upperdir=$scratch/root/$dir,workdir=$scratch/work/$dir overlay /$dir
done
if [ -n "$as_root" ]; then
  rm -rf /var/qmz /opt/Brelka
  dpkg --install "$packages"/*.deb >dpkg.log 2>&1 || { cat dpkg.log; fail "dpkg --install"; }
else
  for package in "$packages"/*.deb; do dpkg-deb -x "$package" unpacked; done
  [ ! -d /var/qmz ] || mount -t tmpfs tmpfs /var/qmz # an installed library's is another's to remove
  for dir in usr opt; do mount -t overlay -o lowerdir=unpacked/$dir:/$dir overlay /$dir; done
  sh "$source/packaging/debian/runtime/postinst" configure
fi

# ---- What stands where --------------------------------------------------------------------------
arch=$(dpkg-architecture -qDEB_HOST_MULTIARCH)
catalogs=("$source"/common/libs/kvolocalise/catalogs/*.msg)
catalogs=("${catalogs[@]##*/}")
catalogs=("${catalogs[@]/%.msg//strings.cat}")
for path in /usr/lib/"$arch"/{libyrafiletransfer.so,libyrafiletransfer.so.1,pkgconfig/yrafiletransfer.pc} \
  /usr/lib/tmpfiles.d/yrafiletransfer.conf "${catalogs[@]/#//opt/Brelka/AVK/qmz/}" \
  /usr/share/doc/{libyrafiletransfer1,libyrafiletransfer-dev,yrafiletransfer-tools}/{copyright,changelog.Debian.gz}; do
  [ -s "$path" ] || fail "$path is not there"
done
[ "$(stat -c '%a %U %G' /var/qmz)" = "775 root root" ] || fail "/var/qmz: $(stat -c '%a %U %G' /var/qmz)"
[ -z "$as_root" ] || [[ $(ldconfig -p) = *libyrafiletransfer.so.1* ]] || fail "the loader does not know the library"
grep -qx 'ExecStart=/usr/bin/kvolog serve' /usr/lib/systemd/system/kvologd.service || fail "the unit starts another"
for program in $(dpkg-deb -c "$packages"/yrafiletransfer-tools_*.deb | sed -nE 's|.* \.(/usr/bin/.+)|\1|p'); do
  "$program" --help >help.txt || fail "$program --help"
  grep -q "^[Uu]sage: ${program##*/}" help.txt || fail "$program --help tells no usage"
  [ -s "$source/docs/man/${program##*/}.1" ] || fail "$program has no manual"
done
for page in "$source"/docs/man/*.[18]; do
  man -w "${page##*.}" "$(basename "${page%.*}")" >/dev/null || fail "man does not find $page"
done
for completion in "$source"/packaging/completions/*; do
  cmp "$completion" "/usr/share/bash-completion/completions/${completion##*/}" || fail "no completion"
done

# ---- Hosts --------------------------------------------------------------------------------------
cp -r "$source/tests/install" hosts
cp "$source"/examples/{host.c,window.cpp} hosts
cd hosts
strict=(-Wall -Wextra -Wpedantic -Werror)
flags=$(pkg-config --cflags --libs yrafiletransfer)
# shellcheck disable=SC2086 # one flag a word
{
  g++ -std=c++17 "${strict[@]}" window.cpp $flags -o pkg-config-window
  # Some linkers drop what nothing names, unless they are told otherwise.
  gcc "${strict[@]}" -Wl,--as-needed host.c $flags -o pkg-config-c
}
{ cmake -B . -S . -G Ninja && cmake --build .; } >cmake.log || { cat cmake.log; fail "CMake"; }
for host in ./{pkg-config,cmake}-c; do
  status=0
  said=$(env -i LD_DEBUG=bindings "$host" 2>&1) || status=$?
  [[ $status = 2 && $said = *"no display"* ]] || fail "$host ended with $status"
  bound=$(grep "binding file $host .* \`calloc'" <<<"$said")
  [[ $bound = *"to /lib/$arch/libtcmalloc"* || $bound = *"to /usr/lib/$arch/libtcmalloc"* ]] ||
    fail "$host allocates elsewhere: $bound"
  [ "$(stat -c %s /var/qmz/.kvolog)" = 1076 ] || fail "$host left no logging configuration"
done

# A host that loads the library gets its texts and its allocator too.
LANG=de_DE.UTF-8 python3 -c 'import ctypes; library = ctypes.CDLL("libyrafiletransfer.so.1")
library.KvoLocaliseInit(); library.KvoLocalise.restype = ctypes.c_char_p
assert library.KvoLocalise(library.KvoLocaliseLookupByName(b"YRAFT_ENG_BUTTON_CLOSE")).decode() == "Schließen"
assert "libtcmalloc" in open("/proc/self/maps").read()' || fail "the library cannot be loaded"

# The classes, on a screen of their own and without one.
for host in ./{pkg-config,cmake}-window; do
  timeout 60 xvfb-run -a "$host" progress || fail "$host progress ended with $?"
  status=0
  env -u DISPLAY "$host" files 2>words || status=$?
  [ "$status $(cat words)" = "1 The dialog could not be shown." ] || fail "$host files: $status $(cat words)"
done

# The guide's host, built as it is printed there, with a choice and without one.
cd "$scratch"
cp hosts/host.c .
bash -euc "$(sed -n 's/^    \(cc .*\)/\1/p' "$source/docs/hosts.md")" || fail "the guide's command"
mkdir -p home/.local/share # where the toolkit keeps what was used
export HOME=$scratch/home LANG=en_US.UTF-8 LC_ALL=C.UTF-8 NO_AT_BRIDGE=1
printf 'a report' >"$HOME/report 1.txt"
ends() { # STATUS OUTPUT [KEYS…]: the host ends so when a user presses these
  local said status=0
  # shellcheck disable=SC2016 # for the inner shell
  said=$("$source/tools/screen" env HOME="$HOME" bash -c 'timeout 60 ./host 2>&1 & host=$!
    while [ -e /proc/$host ]; do
      # Keys that come before the chooser listens are lost.
      xdotool search --onlyvisible --name "^Select Files to Download$" windowactivate --sync "$@"
      sleep 1
    done >/dev/null 2>&1
    wait $host' bash "${@:3}") || status=$?
  [ "$status: $said" = "$1: $2" ] || fail "the host ended with $status and said '$said'"
}
ends 0 "$HOME/report 1.txt" key ctrl+l key ctrl+a type --args 1 "$HOME/report 1.txt" key Return
ends 1 '' key Escape

# Without packages, below a prefix. A list of what was installed in earnest may be another user's.
[ ! -e "$build/install_manifest.txt" ] || { : >manifest && mount --bind manifest "$build/install_manifest.txt"; }
cmake --install "$build" --prefix "$scratch/prefix" >install.log || fail "$(cat install.log)"
grep -qx "ExecStart=$scratch/prefix/bin/kvolog serve" prefix/lib/systemd/system/kvologd.service ||
  fail "the unit below a prefix starts another"
library=$(dirname "$(find prefix -name libyrafiletransfer.so)")
# shellcheck disable=SC2046 # one flag a word
gcc host.c $(PKG_CONFIG_PATH=$library/pkgconfig pkg-config --cflags --libs yrafiletransfer) -o prefix-host
[[ $(LD_LIBRARY_PATH=$library ldd prefix-host) = *"$library/libyrafiletransfer.so.1"* ]] || fail "no library below a prefix"

# ---- And away again -----------------------------------------------------------------------------
cd "$scratch"
if [ -n "$as_root" ]; then
  owned=$(dpkg -L libyrafiletransfer1 libyrafiletransfer-dev yrafiletransfer-tools | grep -E 'yra|kvo|Brelka')
  dpkg --purge yrafiletransfer-tools libyrafiletransfer-dev libyrafiletransfer1 >dpkg.log 2>&1 ||
    { cat dpkg.log; fail "dpkg --purge"; }
  for path in $owned /var/qmz; do
    [ ! -e "$path" ] || fail "$path stays behind"
  done
fi
