#!/usr/bin/env bash
# Does what README.md and docs/hosts.md tell the author of a host who has no packages: installs below
# a prefix, copies the example, builds it with the guide's command as it is printed, and uses it on a
# virtual screen: support/inside BUILD guide_test.sh BUILD
set -euo pipefail
source=$(cd "$(dirname "$0")/.." && pwd)
build=$1
scratch=$(mktemp -d)
prefix=$scratch/prefix
pids=()
trap '[ ${#pids[@]} -eq 0 ] || kill "${pids[@]}" 2>/dev/null; rm -rf "$scratch"' EXIT
passed=0
pass() { passed=$((passed + 1)); }
fail() { printf 'FAILED: %s\n' "$*"; exit 1; }

export LANG=en_US.UTF-8 LC_ALL=C.UTF-8 NO_AT_BRIDGE=1

# Waits up to half a minute for a command to succeed.
await() { # WHAT COMMAND...
  local what=$1 end=$((SECONDS + 30))
  shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $end ] || fail "waited in vain for $what"
    sleep 0.05
  done
}

# ---- Installed below a prefix -------------------------------------------------------------------
cd "$scratch"
manifest=$build/install_manifest.txt
if [ -e "$manifest" ]; then # of what was installed in earnest, perhaps by another user
  : >manifest
  mount --bind manifest "$manifest"
fi
cmake --install "$build" --prefix "$prefix" >install.log || fail "$(cat install.log)"
serve=$(sed -n 's/^ExecStart=//p' "$prefix/lib/systemd/system/kvologd.service")
[ "$serve" = "$prefix/bin/kvolog serve" ] || fail "the unit starts '$serve'"
pass

# ---- The example, built as the guide says -------------------------------------------------------
cp "$source/examples/host.c" .
command=$(sed -n 's/^    \(cc .*\)/\1/p' "$source/docs/hosts.md")
library=$(dirname "$(find "$prefix" -name libyrafiletransfer.so)")
export PKG_CONFIG_PATH=$library/pkgconfig LD_LIBRARY_PATH=$library
bash -euc "$command" || fail "'$command'"
pass

ends() { # STATUS OUTPUT COMPLAINT: the host ends so
  local status=0
  wait "$host" || status=$?
  [ "$status: $(cat out) $(cat err)" = "$1: $2 $3" ] ||
    fail "the host ended with $status, said '$(cat out)' and complained '$(cat err)'"
  pass
}

start() {
  timeout 60 ./host >out 2>err &
  host=$!
}

DISPLAY='' start
ends 2 '' 'no display'

# ---- And used -----------------------------------------------------------------------------------
mkdir -p home/.local/share # where the toolkit keeps what was used
export HOME=$scratch/home
printf 'a report' >"$HOME/report 1.txt"
Xvfb -displayfd 3 -screen 0 1024x768x24 -nolisten tcp -noreset 3>display 2>xvfb.log &
pids+=($!)
await "the virtual screen" test -s display
DISPLAY=:$(cat display)
export DISPLAY
openbox >/dev/null 2>&1 &
pids+=($!)
await "the window manager" sh -c 'xprop -root _NET_SUPPORTING_WM_CHECK | grep -q "window id"'

# A manager that has only just come may give the first window no focus; asking for it is what a click
# in a task bar does.
asks() {
  xdotool search --onlyvisible --name '^Select Files to Download$' windowactivate
  xdotool getactivewindow getwindowname | grep -qx 'Select Files to Download'
}
ended() { [ ! -e "/proc/$host" ]; }

# Presses keys until the host has ended: those that come before the chooser listens are lost.
press() {
  ! asks || "$@"
  for _ in {1..40}; do
    ! ended || return 0
    sleep 0.05
  done
  return 1
}
choose() { xdotool key ctrl+l key ctrl+a type "$HOME/report 1.txt" && xdotool key Return; }

start
await "the end of a choice" press choose
ends 0 "$HOME/report 1.txt" ''

start
await "the end without a choice" press xdotool key Escape
ends 1 '' ''

echo "$passed passed, 0 failed"
