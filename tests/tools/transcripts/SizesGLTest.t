Each operation keeps a picture upright at any size: the four corners, and the middles of the quarters, where sharpening does
nothing. Two intermediate images of 8 bits, one of them of hue and saturation, may cost three steps.
  $ places() { # PICTURE SIZE WHICH
  >     w=${2%x*} h=${2#*x}
  >     convert $1.png \( -clone 0 -chop $((w > 2 ? w - 2 : 0))x$((h > 2 ? h - 2 : 0))+1+1 -sample 2x2! \) \
  >         \( -clone 0 -sample 2x2! \) -delete 0 +repage +append -crop $3 +repage $1-places.png
  > }
  $ upright() { # FROM TO PLACES
  >     quarters $1 in.png
  >     places in $1 $3
  >     for op in $(operations); do
  >         upscale --op $op --quiet --force --size $2 in.png out.png
  >         places out $2 $3
  >         alike 3 out-places.png in-places.png
  >     done
  > }
  $ for sizes in '24x20 61x47' '37x23 37x23' '50x40 33x21'; do upright $sizes 4x2+0+0; done
  $ for sizes in '1x1 3x2' '1x9 3x18' '9x1 27x2'; do upright $sizes 2x2+0+0; done
