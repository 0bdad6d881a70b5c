Each operation works on each kind of picture. An alpha channel that hides nothing is dropped; palettes become the colours that
they stand for.
  $ mkdir in
  $ noise='-size 12x10 xc:teal -seed 7 +noise Random -depth 8'
  $ convert $noise -colorspace gray in/grey.png
  $ convert $noise -interlace PNG in/interlaced.png
  $ convert $noise -define png:color-type=6 in/opaque.png
  $ convert $noise -colors 15 -alpha set -region 2x10 -channel A -evaluate set 50% +channel +region in/palette.png
  $ convert $noise -colorspace gray -alpha set -channel A -evaluate set 50% +channel in/transparent-grey.png
A white ring on transparent black, as most programs leave it.
  $ convert -size 48x48 xc:none -fill none -stroke white -strokewidth 9.6 -draw 'circle 23.5,23.5 23.5,9.1' -depth 8 \
  >     -define png:color-type=6 in/ring.png
  $ convert in/ring.png -format '%[fx:p{0,0}.r] %[fx:p{0,0}.a]\n' info:
  0 0
  $ kinds() { identify -format '%f %wx%h %[png:IHDR.color_type]\n' "$@"; }
  $ kinds in/*
  grey.png 12x10 0 (Grayscale)
  interlaced.png 12x10 3 (Indexed)
  opaque.png 12x10 6 (RGBA)
  palette.png 12x10 3 (Indexed)
  ring.png 48x48 6 (RGBA)
  transparent-grey.png 12x10 4 (GrayAlpha)
  $ for op in $(operations); do upscale --op $op --scale 2 in out-$op/; done
  $ kinds out-fsr/*
  grey.png 24x20 0 (Grayscale)
  interlaced.png 24x20 2 (Truecolor)
  opaque.png 24x20 2 (Truecolor)
  palette.png 24x20 6 (RGBA)
  ring.png 96x96 6 (RGBA)
  transparent-grey.png 24x20 4 (GrayAlpha)
  $ for op in $(operations); do diff <(kinds out-fsr/*) <(kinds out-$op/*) || echo "by $op"; done

The ring has no fringe: its visible part is white throughout.
  $ convert -size 96x96 xc:white white.png
  $ for op in $(operations); do
  >     ring=out-$op/ring.png
  >     convert \( $ring -alpha off \) \( $ring -alpha extract -threshold 0 -negate \) -compose Lighten -composite $op-seen.png
  >     alike 1 $op-seen.png white.png
  >     alphas=$(convert $ring -format '%[fx:p{0,0}.a] %[fx:p{48,48}.a] %[fx:p{76,48}.a>=254/255]' info:)
  >     [ "$alphas" = '0 0 1' ] || echo "$op: alpha $alphas"
  > done
