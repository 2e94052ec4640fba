#!/usr/bin/env bash
# Makes the page of stored results and looks for each of them: page_test.sh COMPILER
set -euo pipefail
export LC_ALL=C.UTF-8
bench=$(cd "$(dirname "$0")" && pwd)
docs=$(mktemp -d)
trap 'rm -rf "$docs"' EXIT
page=$docs/benchmarks.md failed=0
lost() { echo "$*"; failed=1; }

"$bench/page" "$bench/page_test.tsv" "$docs" "$1"
rows=0 points=0
while IFS=$'\t' read -r group unit name n value ratio target verdict; do
  rows=$((rows + 1))
  [ "$n" = 0 ] || points=$((points + 1))
  [ "$target" = 0 ] && target= || target=$(printf %.2f "$target")
  grep -qixF "## $group" "$page" || lost "no group '$group'"
  grep -qxF "| $name | $(printf %.2f "$ratio") | $target | $verdict |" "$page" ||
    lost "no row '$name' of $value $unit"
  case $group in
    push*) picture=queues ;;
    suppressed* | written*) picture=trace ;;
    *) continue ;;
  esac
  grep -qF ">$name<" "$docs/images/bench-$picture.svg" || lost "no bar '$name'"
done <"$bench/page_test.tsv"
[ "$(grep -c '^| [^|]' "$page")" = "$rows" ] || lost "not $rows rows"
# Two stand in the legend.
[ "$(grep -c "<use .*translate" "$docs/images/bench-snapshot.svg")" = $((points + 2)) ] ||
  lost "not $points points"
[ "$(grep -o 'images/bench-.*svg' "$page" | wc -l)" = 3 ] || lost "not three pictures"
xmllint --noout "$docs"/images/bench-{queues,snapshot,trace}.svg || lost "a picture is no XML"
exit $failed
