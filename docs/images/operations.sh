#!/bin/sh
# SPDX-License-Identifier: Apache-2.0
# Makes op-*.png, one picture for each operation at three sharpnesses: operations.sh UPSCALE, with the path of the command.
# Needs ImageMagick and the font DejaVu Sans.
set -eu
upscale=$1
cd "$(dirname "$0")"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

scale=3
panel() {  # PICTURE CROP LABEL RESULT
    convert "$1" -crop "$2" +repage -gravity South -font DejaVu-Sans -pointsize 15 -background '#202226' -fill white \
        -splice 0x26 -annotate +0+4 "$3" "$4"
}
strip() {  # OPERATION SHARPNESS...
    operation=$1
    shift
    panel "$work/source.png" "$crop" "source, pixels ${scale}x" "$work/left.png"
    for sharpness; do
        "$upscale" --op "$operation" --scale "$scale" --sharpness "$sharpness" --force sample.png "$work/large.png"
        panel "$work/large.png" "$crop" "--sharpness $sharpness" "$work/$sharpness.png"
        set -- "$@" "$work/$sharpness.png"
        shift
    done
    convert "$work/left.png" "$@" -background white +smush 8 +dither -colors 224 -strip "op-$operation.png"
}
convert sample.png -filter point -resize "${scale}00%" "$work/source.png"
crop=210x200+1850+1020  # Of the output: some of the sign.
strip fsr 8 0.5 0
strip nea 8 2 0
strip cas-sharpen 1 0.5 0
strip cas 1 0.25 0
strip casv 1 0.25 0
strip cast 1 0.5 0
