#!/usr/bin/env bash
# Compiles every public header alone, as every language that a host may be written in.
set -euo pipefail
include=$(cd "$(dirname "$0")/../include" && pwd)
n=0
for header in "$include"/*.h; do
  for compiler in 'gcc -x c -std=c11' 'clang -x c -std=c11' \
    'g++ -x c++ -std=c++17' 'g++ -x c++ -std=c++20' 'clang++ -x c++ -std=c++17' 'clang++ -x c++ -std=c++20'; do
    # shellcheck disable=SC2086
    printf '#include "%s"\nint main(void) { return 0; }\n' "${header##*/}" |
      $compiler -Wall -Wextra -Wpedantic -Wformat=2 -Werror -I"$include" -fsyntax-only -
    n=$((n + 1))
  done
done
echo "$n passed, 0 failed"
