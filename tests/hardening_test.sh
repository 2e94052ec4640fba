#!/usr/bin/env bash
# Reads from ELF files how they are hardened: hardening_test.sh PROBE LIBRARY [PROGRAM…]
set -euo pipefail

# Names what a file lacks, one a line.
lacking() {
  local file=$1 said
  said=$(readelf -WhlnS "$file"; readelf -Wd "$file"; nm -D "$file" | sed 's/@.*//'; objdump -d --no-show-raw-insn "$file")
  has() { grep -qE "$2" <<<"$said" || echo "$1"; }
  has_not() { ! grep -qE "$2" <<<"$said" || echo "$1"; }
  has "a place that differs from run to run" '^ +Type: +DYN '
  has "relocations that turn read-only" '^ +GNU_RELRO '
  has "all symbols bound at its start" '\((FLAGS|FLAGS_1|BIND_NOW)\).*NOW|\(BIND_NOW\)'
  has "a stack without code" '^ +GNU_STACK .* RW  '
  has_not "code without relocations" 'TEXTREL'
  has "guarded return addresses" ' U __stack_chk_fail$'
  has "checked calls of the C library" ' U __([a-z]+)_chk$'
  has "the mark for shadow stacks" 'x86 feature:.*SHSTK'
  # A frame of more than a page is made page by page, so that it cannot step over the guard page.
  has_not "large frames that touch every page" \
    'sub +.0x([0-9a-f]{5,8}|[2-9a-f][0-9a-f]{3}|1[1-9a-f]..|10[1-9a-f].|100[1-9a-f]),%rsp'
  [ -z "$(comm -23 <(entries "$file") <(sed -nE 's/^ +([0-9a-f]+):\tendbr64.*/\1/p' <<<"$said" | sort))" ] ||
    echo "landing pads at its entries"
}

# The addresses at which others call into a file.
entries() {
  { nm -D --defined-only "$1"; nm "$1" | grep ' T main$'; } | sed -nE 's/^0*([0-9a-f]+) [TW] .*/\1/p' | sort -u
}

# Each check fails on a file that was built without what it looks for.
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
cat >"$scratch/soft.c" <<'SOURCE'
#include <stdio.h>
int main(int argc, char** argv) {
  char text[20000];
  snprintf(text, sizeof(text), "%s", argv[argc - 1]);
  return puts(text);
}
__asm__(".data\nhere: .quad 0\n.text\n.quad here\n");
SOURCE
soft=(gcc -O1 -fno-stack-protector -fno-stack-clash-protection -fcf-protection=none -U_FORTIFY_SOURCE
  "$scratch/soft.c" "-Wl,-z,norelro,-z,lazy,-z,execstack,-z,notext")
"${soft[@]}" -no-pie -o "$scratch/fixed"
"${soft[@]}" -fPIC -shared -o "$scratch/shared" 2>/dev/null
found=$({ lacking "$scratch/fixed"; lacking "$scratch/shared"; } | sort -u | wc -l)
[ "$found" = 10 ] || { echo "Of 10 checks only $found notice an unhardened file."; exit 1; }

failed=0
for file in "$@"; do
  while read -r lack; do
    echo "${file##*/} lacks $lack"
    failed=$((failed + 1))
  done < <(lacking "$file")
done
status=0
"$1" 2>/dev/null || status=$?
[ "$status" = 134 ] || {
  echo "${1##*/} was not stopped at its overflow, but ended with $status: no _FORTIFY_SOURCE=3"
  failed=$((failed + 1))
}
echo "$((10 * $# + 1 - failed)) passed, $failed failed"
[ "$failed" = 0 ]
