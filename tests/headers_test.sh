#!/usr/bin/env bash
# Compiles every public header alone in every language that a host may be written in, and sees both
# compilers warn a host that takes the address of a record's field.
set -euo pipefail
include=$(cd "$(dirname "$0")/../include" && pwd)
warnings=(-Wall -Wextra -Wpedantic -Wconversion -Wformat=2 -Werror)
for language in c11 c17 c2x c++11 c++14 c++17 c++20 c++2b; do
  for header in "$include"/*.h; do
    # The classes' headers take C++17.
    [[ ${header##*/} != Yra* || $language =~ ^c\+\+(17|2) ]] || continue
    for compiler in gcc 'clang -Wgnu -Wc99-extensions -Wflexible-array-extensions'; do
      # shellcheck disable=SC2086
      printf '#include "%s"\nint main(void) { return 0; }\n' "${header##*/}" |
        $compiler -x "${language%%[0-9]*}" -std=$language "${warnings[@]}" -I"$include" -fsyntax-only -
    done
  done
done
for compiler in gcc clang; do
  said=$($compiler -x c "${warnings[@]}" -I"$include" -fsyntax-only - 2>&1 <<<'#include "yraft.h"
    const uint64_t* f(const YRAFT_TLV_BLOCKS* p) { return &p->FilesSize; }') || true
  grep -q address-of-packed-member <<<"$said" || { echo "$compiler: no warning: $said"; exit 1; }
done
