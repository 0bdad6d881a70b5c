Frames are scaled as pictures are, and in order. There are more of them than buffers.
  $ for i in {1..8}; do
  >     convert -size 20x14 -seed $i plasma:red-blue -depth 8 in$i.png
  >     convert in$i.png -alpha on rgba:- >>in.rgba
  > done
  $ for options in '--op fsr --quiet --size 33x28' '--op cas --scale 1.5 --border raw'; do
  >     cat in.rgba | upscale $options --raw 20x14 - - >out.rgba
  >     upscale $options --force in{1..8}.png pictures/
  >     for i in {1..8}; do convert pictures/in$i.png -alpha on rgba:-; done | cmp - out.rgba && stat -c %s out.rgba
  > done
  29568
  20160

ffmpeg stands on both sides. Two filters differ at edges only; a wrong range, matrix or order is off by 8 steps and more.
  $ frames() { ffmpeg -v error -f lavfi -i testsrc2=size=120x68:rate=25 -frames:v 12 -vf gblur,hue=s=0.3,format="$@"; }
  $ toRgb='-f rawvideo -pix_fmt rgb24 -'
  $ for pixels in yuv420p yuvj420p yuv422p yuv444p gray; do
  >     frames $pixels -strict -1 -f yuv4mpegpipe - | upscale --scale 2 - - | ffmpeg -v error -f yuv4mpegpipe -i - $toRgb |
  >         convert -size 240x1632 -depth 8 rgb:- ours.png
  >     frames $pixels,scale=240:136 $toRgb | convert -size 240x1632 -depth 8 rgb:- theirs.png
  >     alike 4 ours.png theirs.png MAE
  > done
