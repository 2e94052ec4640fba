#!/usr/bin/env bash
# What comes with kvolog: its completion and its unit. kvolog_files_test.sh TOOL
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
PATH=$(dirname "$1"):$PATH
failed=0

fail() {
  printf '%s\n' "$*"
  failed=1
}

# Completes the last of the words and compares.
completes() {
  local expected=$1
  shift
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMPREPLY=()
  COMP_POINT=${#COMP_LINE}
  _kvolog || true
  [ "${COMPREPLY[*]}" = "$expected" ] || fail "'$*' is completed with: ${COMPREPLY[*]}"
}

set +u # the library of completions is not made for it
# shellcheck source=/dev/null
source /usr/share/bash-completion/bash_completion
# shellcheck source=packaging/completions/kvolog
source "$root/packaging/completions/kvolog"
kvolog reset
completes 'set serve' kvolog se
completes 'YRAFT_WS YRAFT_WIN' kvolog set yraft_w
completes 'VERBOSE' kvolog set YRAFT_WIN v
completes 'LOCALISE' kvolog tail -f --class loc
completes 'WARNING' kvolog tail --level w
completes '-FUNCTION -THREAD --json --help' kvolog flags -
completes '--json --help' kvolog levels -

if command -v systemd-analyze >/dev/null; then
  unit=$(mktemp -d)/kvologd.service
  sed "s#@.*@/kvolog#$1#" "$root/packaging/kvologd.service.in" >"$unit"
  systemd-analyze verify --man=no "$unit" 2>&1 || fail "the unit is refused"
fi
exit $failed
