JPEG files are turned upright by the orientation of their EXIF data, in either byte order. Their density is turned too.
  $ quarters 32x16 in.png
  $ convert in.png -density 300x150 -units PixelsPerInch -quality 95 in.jpg
  $ for orientation in {1..8}; do
  >     order=MM; [ $((orientation % 2)) = 0 ] || order=II
  >     exiftool -q -n -ExifByteOrder=$order -Make=Any -Orientation=$orientation -o turned.jpg in.jpg
  >     upscale --op nea --scale 1 --sharpness 100 turned.jpg out.png
  >     convert turned.jpg -auto-orient expected.png
  >     alike 1 out.png expected.png
  >     echo $orientation: $(exiftool -s3 -ImageSize -PixelsPerUnitX -PixelsPerUnitY -XResolution -YResolution out.png)
  >     rm turned.jpg out.png
  > done
  1: 32x16 11811 5906 300 150
  2: 32x16 11811 5906 300 150
  3: 32x16 11811 5906 300 150
  4: 32x16 11811 5906 300 150
  5: 16x32 5906 11811 150 300
  6: 16x32 5906 11811 150 300
  7: 16x32 5906 11811 150 300
  8: 16x32 5906 11811 150 300
  $ convert in.jpg -crop 1x1+0+0 one.png
  $ convert in.png -crop 1x1+0+0 two.png
  $ alike 6 one.png two.png
