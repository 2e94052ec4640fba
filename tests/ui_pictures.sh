#!/usr/bin/env bash
# Takes a picture of every dialog in every language: `tests/ui_pictures.sh BUILD FOLDER`.
#
# The toolkit's own texts (Open, Cancel, Close …) follow the process's locale, which must exist: it is
# compiled below BUILD from the sources of Debian's package `locales`. Without them these texts stay
# English; those of the catalogs do not depend on it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "$1" && pwd)
mkdir -p "$2"
YRA_PICTURES=$(cd "$2" && pwd)
export YRA_PICTURES LOCPATH=$build/locales
mkdir -p "$LOCPATH"
failed=

declare -A country=([ar]=EG [en]=US [he]=IL [ja]=JP [ko]=KR) # elsewhere named like the language
for catalog in "$build"/catalogs/*; do
  language=${catalog##*/}
  place=$language
  [[ $place = *_* ]] || place=${language}_${country[$language]:-${language^^}}
  locale=$place.UTF-8
  [ -d "$LOCPATH/$locale" ] || localedef -i "$place" -f UTF-8 "$LOCPATH/$locale" 2>/dev/null || true
  [ -d "$LOCPATH/$locale" ] || locale=C.UTF-8
  YRA_LOCALE=$locale "$root/tools/inside" "$build" "$root/tools/screen" \
    "$build/tests/ui_languages_test" \
    --gtest_filter="*/$language" --gtest_brief=1 || failed+=" $language"
done
ls "$YRA_PICTURES"
[ -z "$failed" ] || { echo "Not right:$failed" >&2; exit 1; }
