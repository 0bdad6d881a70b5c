#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Prints the table of docs/operations.md: quality.sh UPSCALE, with the path of the command. Needs ImageMagick.
#
# The sample picture is reduced to each of the sizes, by averaging, and enlarged again to its own size.
set -eu
upscale=$1
picture=$(realpath "$(dirname "$0")/sample.png")
size=960x540
sizes='640x360 480x270 320x180' # 1.5, 2 and 3 times smaller.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
for small in $sizes; do
    convert "$picture" -filter box -resize "$small!" "$work/$small.png"
done

row() { # NAME COMMAND...: the command takes the picture to enlarge and the one to write.
    printf '| %s |' "$1"
    shift
    for small in $sizes; do
        "$@" "$work/$small.png" "$work/out.png"
        # It fails if the pictures differ at all.
        printf ' %.1f |' "$(compare -metric PSNR "$picture" "$work/out.png" null: 2>&1 || :)"
    done
    echo
}

sampled() { # IN OUT
    convert "$1" -sample "$size" "$2"
}
filtered() { # FILTER IN OUT
    convert "$2" -filter "$1" -resize "$size" "$3"
}

echo '| | 1.5 x | 2 x | 3 x |'
echo '|---|---|---|---|'
for operation in $("$upscale" --list | awk '/^[^ ]/ { print $1 }'); do
    row "\`$operation\`" "$upscale" --op "$operation" --size "$size" --force
done
row Lanczos filtered Lanczos
row linear filtered Triangle
row nearest sampled
