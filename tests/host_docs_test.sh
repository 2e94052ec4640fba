#!/usr/bin/env bash
# Holds what `--help`, the man page and the completion of yraft-host say against each other:
# `host_docs_test.sh PROGRAM SOURCE`.
set -euo pipefail
program=$1
page=$2/docs/man/yraft-host.1
# shellcheck source=/dev/null
. "$2/packaging/completions/yraft-host"

options() { grep -oE -- '--[a-z]+(-[a-z]+)*' | sort -u; }

# Asks bash's completion for the words that may follow.
completed() {
  COMP_WORDS=(yraft-host "$@")
  COMP_CWORD=$#
  _yraft_host
  printf '%s\n' "${COMPREPLY[@]}"
}

# The part of the man page under a heading.
section() { sed -n "/^\.SS $1\$/,/^\.S[SH]/p" "$page" | sed 's/\\-/-/g'; }

check() {
  [ "$2" = "$3" ] || { printf '%s differs:\n%s\n---\n%s\n' "$1" "$2" "$3"; exit 1; }
  n=$((n + 1))
}

n=0
warnings=$(groff -man -ww -Tutf8 -z "$page" 2>&1)
check 'the list of warnings' '' "$warnings"
commands=$("$program" --help | sed -n 's/^  \([a-z-]*\) .*/\1/p' | sort)
check 'the list of commands' "$commands" "$(completed '' | grep -v '^--' | sort)"
check 'the list of sections' "$commands" "$(sed -n 's/^\.SS //p' "$page" | sort)"
for command in $commands; do
  help=$("$program" "$command" --help | options)
  check "$command completed" "$help" "$(completed "$command" -- | options)"
  check "$command in the man page" "$(grep -v '^--help$' <<<"$help" || true)" "$(section "$command" | options || true)"
done
echo "$n passed, 0 failed"
