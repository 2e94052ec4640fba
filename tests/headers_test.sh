#!/usr/bin/env bash
# Compiles the public headers in every language that a host may be written in, and sees both
# compilers warn a host that takes the address of a record's field.
set -euo pipefail
include=$(cd "$(dirname "$0")/../include" && pwd)
n=0

compile() { # LANGUAGE COMPILER...: a program from stdin
  "${@:2}" -x "${1% *}" -std="${1#* }" -Wall -Wextra -Wpedantic -Wconversion -Wformat=2 -Werror \
    -I"$include" -fsyntax-only -
}

includes() { printf '#include "%s"\n' "${@##*/}"; }

uses='int f(const YRAFT_FILEINFO_ITEM* p, const YRAFT_ERROR_MESSAGE_INFO* e) {
  YRAFT_FILEINFO_ITEM head = *p;
  return head.nameLen + p->name[0] + e->Title[0];
}'
errs='#include "yraft.h"
unsigned f(const YRAFT_THRESHOLD_INFO* p) { const uint32_t* at = &p->maxFileSizeUpload; return *at; }'

for compiler in gcc 'clang -Wgnu -Wc99-extensions -Wflexible-array-extensions'; do
  read -ra compiler <<<"$compiler"
  for language in 'c c11' 'c c17' 'c c2x' 'c++ c++11' 'c++ c++14' 'c++ c++17' 'c++ c++20' 'c++ c++2b'; do
    printf '%s\n' "$(includes "$include"/*.h)" "$uses" | compile "$language" "${compiler[@]}"
    n=$((n + 1))
  done
  for language in 'c c11' 'c++ c++11'; do
    for header in "$include"/*.h; do
      includes "$header" | compile "$language" "${compiler[@]}"
      n=$((n + 1))
    done
    if said=$(compile "$language" "${compiler[@]}" <<<"$errs" 2>&1) ||
      ! grep -q address-of-packed-member <<<"$said"; then
      echo "${compiler[0]}, $language: no warning of an address: $said"
      exit 1
    fi
    n=$((n + 1))
  done
done
echo "$n passed, 0 failed"
