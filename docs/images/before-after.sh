#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Makes before-after.png: before-after.sh UPSCALE, with the path of the command. Needs ImageMagick and the
# font DejaVu Sans.
set -eu
upscale=$1
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

scale=4
crop=150x120+566+226  # Of the source.
label() {
    convert "$1" -gravity South -font DejaVu-Sans -pointsize 20 -background '#202226' -fill white \
        -splice 0x34 -annotate +0+6 "$2" "$3"
}

convert sample.png -crop "$crop" +repage -filter point -resize "${scale}00%" "$work/before.png"
"$upscale" --op fsr --scale "$scale" sample.png "$work/large.png"
convert "$work/large.png" -crop "$(echo "$crop" | awk -F'[x+]' -v s="$scale" \
    '{ print $1 * s "x" $2 * s "+" $3 * s "+" $4 * s }')" +repage "$work/after.png"
label "$work/before.png" "source, pixels enlarged ${scale}x" "$work/left.png"
label "$work/after.png" "upscale --op fsr --scale $scale" "$work/right.png"
convert "$work/left.png" "$work/right.png" -background white +smush 12 -strip before-after.png
