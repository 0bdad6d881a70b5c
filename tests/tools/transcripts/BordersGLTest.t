A padded border changes the edge only. Two operations read between pixels through the driver's sampler: they may differ by
3 steps.
  $ convert -size 24x20 xc:teal -seed 7 +noise Random -depth 8 in.png
  $ for op in $(operations); do
  >     case $op in cas-sharpen | casv) steps=3 ;; *) steps=0 ;; esac
  >     for size in 24x20 24x40; do
  >         upscale --op $op --size $size --force --border raw in.png raw.png 2>warnings
  >         upscale --op $op --size $size --force in.png pad.png 2>warnings
  >         cmp -s raw.png pad.png && echo "$op, $size: no padding"
  >         for border in raw pad; do convert $border.png -shave 6x6 $border.png; done
  >         alike $steps raw.png pad.png | sed "s/^/$op, $size: /"
  >     done
  > done

At the driver's largest size there is no room for one.
  $ most=$(upscale --size 1000000x1 in.png out.png 2>&1 | grep -oE '[0-9]+ pixels' | grep -oE '^[0-9]+')
  [1]
  $ upscale --size ${most}x1 in.png out.png 2>&1 | sed 's/padded, .* is/padded, SIZES is/; s/to [0-9]*x1/to SIZE/'
  upscale: warning: in.png: 24x20 to SIZE is another shape; --fit keeps it
  upscale: warning: there is no room for a border: padded, SIZES is too large for the driver; continuing with --border raw
  $ [ $(od -An -tu4 --endian=big -j16 -N4 out.png) -eq $most ]
