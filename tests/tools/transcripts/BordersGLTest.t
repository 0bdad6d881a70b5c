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

A picture longer than the driver takes has a border, too: the corner is as at any other place.
  $ ffmpeg -v error -f lavfi -i color=teal:size=20000x2 -frames:v 1 wide.png
  $ for op in $(operations); do
  >     upscale --op $op --scale 2 --force wide.png out.png
  >     echo $(od -An -tu1 -j16 -N8 out.png) $(ffmpeg -v error -i out.png -f rawvideo -pix_fmt rgb24 - | od -An -tu1 -v -w3 | sort -u)
  > done
  0 0 156 64 0 0 0 4 0 126 127
  0 0 156 64 0 0 0 4 0 126 127
  0 0 156 64 0 0 0 4 0 126 127
  0 0 156 64 0 0 0 4 0 126 127
  0 0 156 64 0 0 0 4 0 125 127
  0 0 156 64 0 0 0 4 0 126 127
