#!/usr/bin/env bash
# call_cost.sh CALL_COST NULL_DRIVER_FOLDER LIBRARY...: measures what a call costs besides the driver, with cached
# buffers. It may allocate memory for the Fence and nothing else, and execute at most 4,000 instructions, including
# those of the host and the C library, however many buffers are cached. Prints the counts.
set -euo pipefail

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
# Copies without debug information, which valgrind may be too old to read.
for file in "$1" "${@:3}"; do
    strip --strip-debug -o "$work/$(basename "$file")" "$file"
done
call_cost=$work/$(basename "$1")
export LD_LIBRARY_PATH=$work:$2

# instructions OPERATION BUFFERS: for one call.
instructions() {
    local calls=200
    valgrind -q --tool=callgrind --toggle-collect='*measured*' --callgrind-out-file="$work/out" \
        "$call_cost" "$1" $calls "$2" >/dev/null
    echo $(($(sed -n 's/^totals: //p' "$work/out") / calls))
}

failed=0
for operation in $("$call_cost" --list); do
    line=$("$call_cost" $operation 1000)
    count=$(instructions $operation 2)
    echo "$line instructions $count"
    [[ $line == *" allocations 1 "* && $count -gt 0 && $count -le 4000 ]] || failed=1
done
few=$(instructions casSharpen 10)
many=$(instructions casSharpen 1000)
echo "casSharpen of 10 and of 1000 buffers: instructions $few and $many"
# A bucket may hold another buffer or two.
[ $((many - few)) -le 100 ] || failed=1
exit $failed
