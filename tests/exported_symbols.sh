#!/usr/bin/env bash
# Compares what a library exports with the list beside this script. Usage: exported_symbols.sh LIBRARY LIST
set -euo pipefail
diff -u "$2" <(nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort)
