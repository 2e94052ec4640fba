#!/usr/bin/env bash
# Reads from ELF files how they are hardened: hardening_test.sh LIBRARY [PROGRAM…]
set -euo pipefail

# Names what a file lacks, one a line. hardening-check does not find the landing pads of code that the
# compiler made with its mark, nor frames that are made page by page; branch protection is of another
# processor.
lacking() {
  local said pads entries
  hardening-check --nocfprotection "$1" | sed -n '/^ Branch Prot/d; s/^ \(.*\): no, .*!$/\1/p'
  said=$(readelf -WnlSd "$1"; objdump -d --no-show-raw-insn "$1")
  has() { grep -qE "$2" <<<"$said" || echo "$1"; }
  has_not() { ! grep -qE "$2" <<<"$said" || echo "$1"; }
  has "a stack without code" '^ +GNU_STACK .* RW  '
  has_not "code without relocations" 'TEXTREL'
  has "the mark for shadow stacks" 'x86 feature:.*SHSTK'
  has_not "large frames that touch every page" \
    'sub +.0x([0-9a-f]{5,8}|[2-9a-f][0-9a-f]{3}|1[1-9a-f]..|10[1-9a-f].|100[1-9a-f]),%rsp'
  pads=$(sed -nE 's/^ +([0-9a-f]+):\tendbr64.*/\1/p' <<<"$said" | sort)
  entries=$({ nm -D --defined-only "$1"; nm "$1" | grep ' T main$'; } | sed -nE 's/^0*([0-9a-f]+) [TW] .*/\1/p' | sort -u)
  [ -z "$(comm -23 <(echo "$entries") <(echo "$pads"))" ] || echo "landing pads at its entries"
}

# A file that was built without all that lacks all that: nine things, and relocations in code.
soft=$(mktemp)
trap 'rm -f "$soft"' EXIT
gcc -O1 -fno-stack-protector -fno-stack-clash-protection -fcf-protection=none -U_FORTIFY_SOURCE -no-pie \
  -x c - -Wl,-z,norelro,-z,lazy,-z,execstack -o "$soft" <<'SOURCE'
#include <stdio.h>
int main(int argc, char** argv) {
  char text[20000];
  snprintf(text, sizeof(text), "%s", argv[argc - 1]);
  return puts(text);
}
SOURCE
[ "$(lacking "$soft" | wc -l)" = 9 ] || { lacking "$soft"; echo "is all that an unhardened file lacks?"; exit 1; }

for file in "$@"; do
  found=$(lacking "$file")
  [ -z "$found" ] || { printf '%s lacks\n%s\n' "${file##*/}" "$found"; exit 1; }
done
