#!/usr/bin/env bash
# Holds what `--help`, the man page and the completion of each program say against each other:
# program_docs_test.sh SOURCE PROGRAM...
set -euo pipefail
source=$1
shift
# shellcheck source=/dev/null
set +u # it is not made for strict shells
. /usr/share/bash-completion/bash_completion || true

check() { # WHAT EXPECTED FOUND
  [ "$2" = "$3" ] || { printf '%s differs:\n%s\n---\n%s\n' "$1" "$2" "$3"; exit 1; }
}

# The long options of a text, but for --help, which every command has, and the program's --version.
options() { { grep -oE -- '--[a-z]+(-[a-z]+)*' || true; } | sed '/^--\(help\|version\)$/d' | sort -u; }

# Asks bash's completion for the words that may follow.
completed() { # PROGRAM WORD...
  local function
  function=$(complete -p "$1" | sed -E 's/.* -F ([^ ]+) .*/\1/')
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) COMP_LINE="$*" COMPREPLY=()
  COMP_POINT=${#COMP_LINE}
  "$function"
  printf '%s\n' "${COMPREPLY[@]}"
}

# The man page as a reader sees it, no word broken; of a page with a section a command, that section.
page() { # PAGE [COMMAND]
  groff -mandoc -Tutf8 -P-cbou -rLL=400n "$1" | sed 's/‐/-/g' |
    if grep -q "^\.SS ${2:-.}" "$1" && [ -n "${2:-}" ]; then
      sed -n "/^   $2\$/,/^ \{0,3\}[^ ]/{//!p}"
    else
      cat
    fi
}

look_at() { # PROGRAM
  local name=${1##*/} page command commands help all
  page=$source/docs/man/$name.1
  check "$name: the list of warnings" '' "$(groff -mandoc -ww -Tutf8 -z "$page" 2>&1)"
  check "$name: the list of errors" '' "$(mandoc -Tlint -W error "$page" 2>&1)"
  # shellcheck source=/dev/null
  . "$source/packaging/completions/$name"

  commands=$("$1" --help | sed -nE 's/^  ([a-z]+(-[a-z]+)*) .*/\1/p' | sort)
  if [ -z "$commands" ]; then
    help=$("$1" --help | options)
    check "$name: completed" "$help" "$(completed "$name" -- | options)"
    check "$name: in the man page" "$help" "$(page "$page" | options)"
    return
  fi
  check "$name: the list of commands" "$commands" \
    "$(completed "$name" '' | grep -v '^--' | sort)"
  check "$name: the commands in the man page" "$commands" \
    "$(sed -nE 's/^\.(SS|It Cm) ([a-z]+(-[a-z]+)*)( (Op|Ar) .*)?$/\2/p' "$page" | sort)"
  all=$("$1" --help | options)$'\n'
  for command in $commands; do
    help=$("$1" "$command" --help | options)
    all+=$help$'\n'
    check "$name $command: completed" "$help" "$(completed "$name" "$command" -- | options)"
    ! grep -q "^\.SS $command\$" "$page" ||
      check "$name $command: in the man page" "$help" "$(page "$page" "$command" | options)"
  done
  check "$name: in the man page" "$(options <<<"$all")" "$(page "$page" | options)"
}

for program in "$@"; do look_at "$program"; done
