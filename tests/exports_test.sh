#!/usr/bin/env bash
# Holds what the library exports against the list of the interface: exports_test.sh LIBRARY LIST
set -euo pipefail
diff <(nm -DC --defined-only "$1" | sed -E 's/^[0-9a-f]+ . //; s/@@.*//' | grep -v '^YRAFILETRANSFER_' | sort -u) "$2" ||
  { echo "The exported interface changed: < is built, > is listed."; exit 1; }
grep -q 'SONAME.*libyrafiletransfer\.so\.1' <<<"$(readelf -d "$1")" || { echo "no SONAME"; exit 1; }
echo "1 passed, 0 failed"
