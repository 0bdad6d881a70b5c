#!/usr/bin/env bash
# Looks for the marks of the hardening flags in what is installed. Usage: hardening.sh FILE...
set -euo pipefail
missing=
expect() { # EXPRESSION FILE...
    grep -qE -e "$1" <<<"$(readelf --wide --file-header --program-headers --dynamic --dyn-syms "${@:2}")" ||
        missing+="${*:2}: no $1"$'\n'
}
for file; do
    for mark in 'Type: *DYN' GNU_RELRO 'FLAGS.* (BIND_)?NOW' 'GNU_STACK.* RW ' __stack_chk_fail; do
        expect "$mark" "$file"
    done
done
expect '__[a-z]+_chk@' "$@" # Not every file calls a fortified function.
[ -z "$missing" ] || { printf %s "$missing"; exit 1; }
