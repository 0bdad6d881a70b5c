#!/usr/bin/env bash
# Every library that is linked has to be in the list of SECURITY.md.
# Usage: linked_libraries.sh SECURITY.md BINARY...
set -euo pipefail
list=$1
shift
for binary in "$@"; do
    for library in $(readelf -d "$binary" | sed -n 's/.*(NEEDED).*\[\(lib[^]]*\)\.so.*\]/\1/p'); do
        [[ $library == libupscaler* ]] || grep -qE "^\|.*\b${library//+/\\+}( |,)" "$list" || {
            echo "$binary links $library, which $list does not list"
            exit 1
        }
    done
done
