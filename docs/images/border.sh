#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Makes border.png: border.sh UPSCALE, with the path of the command. Needs ImageMagick and the font DejaVu
# Sans.
set -eu
upscale=$1
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

scale=2
enlarged=8
corner=40x30  # Of the output.
source=320x240+480+160  # Whose opposite sides differ.
convert sample.png -crop "$source" +repage "$work/source.png"
panel() {  # OPERATION BORDER
    "$upscale" --op "$1" --scale "$scale" --border "$2" --force "$work/source.png" "$work/large.png"
    convert "$work/large.png" -gravity NorthWest -crop "$corner+0+0" +repage -filter point \
        -resize "${enlarged}00%" -gravity South -font DejaVu-Sans -pointsize 18 -background '#202226' \
        -fill white -splice 0x30 -annotate +0+5 "--op $1 --border $2" "$work/$1-$2.png"
}
for operation in fsr cas; do
    panel "$operation" raw
    panel "$operation" pad
    convert "$work/$operation-raw.png" "$work/$operation-pad.png" -background white +smush 12 \
        "$work/$operation.png"
done
convert "$work/fsr.png" "$work/cas.png" -background white -smush 12 +dither -colors 200 -strip border.png
