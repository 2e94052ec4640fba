#!/usr/bin/env bash
# Packs real trees: store_pack_test.sh YRAFT_PACK
set -euo pipefail
pack=$1
tree=$(mktemp -d)
trap 'chmod -R u+rwx "$tree"; rm -rf "$tree"' EXIT
passed=0

check() { # WHAT EXPECTED FOUND
  [ "$2" = "$3" ] || { printf '%s: expected %s, found %s\n' "$1" "$2" "$3"; exit 1; }
  passed=$((passed + 1))
}

# Runs the program as somebody whom permissions concern: as root without privileges, since nobody else
# may enter a clone in root's home.
run() {
  local as=()
  [ "$(id -u)" != 0 ] || as=(setpriv --bounding-set=-all --inh-caps=-all)
  set +e
  out=$("${as[@]}" "$pack" "$@" 2>"$tree/err")
  status=$?
  set -e
}

# More files than blocks of one size could take, whose sizes and names differ.
mkdir "$tree/good" "$tree/good/sub" "$tree/bad" "$tree/bad/locked"
chmod a+rx "$tree"
for ((i = 1; i <= 3000; ++i)); do
  printf -v name '%*s' $((1 + i % 90)) ''
  printf '%*s' $((i % 10)) '' >"$tree/good/sub/${name// /n}-$i"
done
truncate -s 5G "$tree/good/large"
printf 'x' >"$tree/good/two"$'\n''lines'
ln -s large "$tree/good/link"
run "$tree/good"
check 'a good tree' 0 $status
check 'items' "$(find -L "$tree/good" -type f -printf '%s\n' | sort -n)" \
  "$(sed -nE 's/^ *([0-9]+)  .*/\1/p' <<<"$out" | sort -n)"
check 'totals' 'blocks: 3003 files, 10737431741 bytes' \
  "$(sed -n 's/ in [0-9]* blocks$//; s/^blocks/&/p' <<<"$out")"
longest=$(sed -nE 's/^block .* files in ([0-9]+) bytes.*/\1/p' <<<"$out" | sort -n | tail -1)
check 'blocks are used to their end' yes "$([ "$longest" -gt 65000 ] && [ "$longest" -le 65535 ] && echo yes)"
run --quiet "$tree/good"
check 'quiet' 0 "$(grep -c '^ ' <<<"$out")"

# What cannot be read is told, and the rest is packed.
printf 'ok' >"$tree/bad/file"
chmod 0 "$tree/bad/locked"
ln -s . "$tree/bad/up"
ln -s self "$tree/bad/self"
ln -s nowhere "$tree/bad/dangling"
printf -v name '%*s' 200 ''
(cd "$tree/bad" && for _ in {1..25}; do mkdir "${name// /d}" && cd "${name// /d}"; done)
run "$tree/bad"
check 'a bad tree' 1 $status
for told in 'locked: cannot read the folder: Permission denied' "up: leads back to $tree/bad" \
  'self: cannot follow the link: Too many levels' 'dangling: cannot follow the link: No such file' \
  'File name too long'; do
  check "$told" 1 "$(grep -cF "$told" "$tree/err")"
done
check 'the rest' 1 "$(grep -c '^ *2  .*/bad/file$' <<<"$out")"

for usage in "$tree/nowhere" "$tree/bad/file" --wrong ''; do
  run ${usage:+"$usage"}
  check "usage '$usage'" 2 $status
done
run --help
check 'help' 0 $status
"$pack" "$tree/good" >/dev/full 2>/dev/null && status=0 || status=$?
check 'a full disk' 1 $status

echo "$passed passed, 0 failed"
