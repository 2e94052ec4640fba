#!/usr/bin/env bash
# Holds what every function of the interface answers and writes into the log against the stored text:
# lines_test.sh BUILD. Renews the text when that is meant to change: lines_test.sh --renew BUILD
set -euo pipefail
tests=$(cd "$(dirname "$0")" && pwd)
stored=$tests/lines/interface.txt
renew=
[ "$1" != --renew ] || { renew=yes && shift; }
written=$(mktemp)
trap 'rm -f "$written"' EXIT
timeout 240 "$tests/../tools/inside" "$1" "$tests/../tools/screen" "$1/tests/lines_test" "$written" >/dev/null
if [ -n "$renew" ]; then
  cp "$written" "$stored"
  exit
fi
diff -u "$stored" "$written" || {
  echo "The lines changed. If they are meant to: ./dev lines-update"
  exit 1
}
