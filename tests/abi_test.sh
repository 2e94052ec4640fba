#!/usr/bin/env bash
# Holds the library's binary interface against the stored description: abi_test.sh LIBRARY
# Renews the description when the interface is meant to change: abi_test.sh --renew LIBRARY
#
# Described are the exported symbols, the functions' signatures and every record of the public
# headers that they reach; the other records are held by the headers' own assertions. Compilers describe
# one interface in different words, so only what the same one built is compared.
set -euo pipefail
tests=$(cd "$(dirname "$0")" && pwd)
stored=$tests/abi/libyrafiletransfer.abi
compiler="<!-- $(readelf -p .comment "${@: -1}" | sed -nE 's/.*(GCC): .* ([0-9]+)\..*/\1 \2/p' | head -n 1) -->"

describe() {
  abidw --type-id-style hash --no-corpus-path --no-show-locs --no-comp-dir-path --exported-interfaces-only --drop-undefined-syms \
    --headers-dir "$tests/../include" --drop-private-types --suppressions "$tests/abi/foreign.suppr" \
    --out-file "$2" "$1"
}

if [ "$1" = --renew ]; then
  describe "$2" "$stored"
  echo "$compiler" >>"$stored"
  exit
fi
grep -qxF "$compiler" "$stored" || {
  echo "Skipped: the library is the work of another compiler than $(tail -n 1 "$stored")."
  exit 77
}
built=$(mktemp)
trap 'rm -f "$built"' EXIT
describe "$1" "$built"
abidiff "$stored" "$built" || {
  echo "The binary interface changed. If it is meant to: ./dev abi-update"
  exit 1
}
