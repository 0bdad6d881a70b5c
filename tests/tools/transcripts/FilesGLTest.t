What the command does with files, whatever the operation.
  $ quarters 16x12 in.png
  $ size() { identify -format '%f %wx%h\n' "$@"; }

Sizes are rounded to whole pixels. Only --size with both sides can change the shape, and then there is a warning.
  $ quarters 40x17 wide.png
  $ for target in '--scale 50%' '--scale 1.57' '--size 61x' '--size x9' '--size 1x' '--fit 60x60' '--fit 60x17' '--size 16x7'; do
  >     upscale --op nea $target --force wide.png out.png; size out.png
  > done
  upscale: warning: wide.png: 20x9 is smaller; operations skip pixels, so fine detail aliases
  out.png 20x9
  out.png 63x27
  out.png 61x26
  upscale: warning: wide.png: 21x9 is smaller; operations skip pixels, so fine detail aliases
  out.png 21x9
  upscale: warning: wide.png: 1x1 is smaller; operations skip pixels, so fine detail aliases
  out.png 1x1
  out.png 60x26
  out.png 40x17
  upscale: warning: wide.png: 16x7 is smaller; operations skip pixels, so fine detail aliases
  out.png 16x7
  $ upscale --op nea --size 20x20 wide.png --force out.png
  upscale: warning: wide.png: 40x17 to 20x20 is another shape; --fit keeps it
  upscale: warning: wide.png: 20x20 is smaller; operations skip pixels, so fine detail aliases
  $ head -c 2720 /dev/zero | upscale --raw 40x17 --op nea --quiet --size 20x20 - - | wc -c
  1600
  $ upscale --op nea --size 20x20 wide.png in.png new/
  upscale: warning: 2 of 2 pictures got another shape; --fit keeps it
  upscale: warning: 1 of 2 pictures became smaller; operations skip pixels, so fine detail aliases
  $ rm -r wide.png out.png new

--force replaces a file and keeps its mode and a link to it; it works in place too.
  $ echo old >old.png
  $ chmod 400 old.png
  $ ln -s old.png link.png
  $ upscale --scale 2 in.png link.png
  upscale: link.png: File exists; --force replaces it
  [1]
  $ cat old.png
  old
  $ upscale --scale 2 in.png link.png --force
  $ size old.png
  old.png 32x24
  $ stat -c '%A %N' old.png link.png
  -r-------- 'old.png'
  lrwxrwxrwx 'link.png' -> 'old.png'
  $ upscale --scale 2 in.png in.png --force
  $ size in.png
  in.png 32x24
  $ ls -A
  in.png
  link.png
  old.png

Failures leave no file behind.
  $ rm -f link.png old.png
  $ head -c $(($(stat -c %s in.png) / 2)) in.png >short.png
  $ convert in.png -alpha set -channel A -evaluate set 50% icon.png
  $ upscale --quiet --size 1000000x1 in.png out.png
  upscale: the driver: cannot enlarge by so much: with the border, * to * (glob)
  [1]
  $ upscale --scale 1e300 in.png out.png
  upscale: out.png: 4294967295x4294967295 is too large: PNG takes 2147483647 pixels a side
  [1]
  $ upscale --scale 2 short.png out.png
  upscale: short.png: the file is cut short
  [1]
  $ upscale --scale 2 icon.png out.jpg
  upscale: out.jpg: the picture is transparent in parts, which JPEG cannot hold; PNG, * can (glob)
  [1]
  $ upscale --scale 2 in.png short.png/
  upscale: short.png/: not a folder
  [1]
  $ upscale --scale 2 in.png missing/new/
  upscale: missing/new/: No such file or directory
  [1]
  $ ls -A
  icon.png
  in.png
  short.png

Neither do faults of the driver. The library reports nothing, so the command has to find out what the driver did.
  $ faulty skip-draws --op cas --scale 2 in.png out.png
  upscale: the driver: pixels of the result were left unwritten
  [1]
  $ faulty gl-error --op cas --scale 2 in.png out.png 2>&1 | sed 's/: [0-9]*:/: LINE:/'
  upscale: the driver: glGetError failed multimedia/display/upsservice/upscaler/upscaler: LINE: glDrawArrays(GL_TRIANGLES, 0, 6) failed: INVALID_ENUM
  [1]
  $ faulty no-fence --scale 2 in.png out.png
  upscale: the driver: no fence could be made
  [1]
  $ faulty fence-timeout --scale 2 in.png out.png
  upscale: the driver: no result after 300 seconds
  [1]
  $ faulty fence-error --scale 2 in.png out.png
  upscale: the driver: waiting failed: Invalid argument
  [1]
  $ faulty bad-shaders --op cas --scale 2 in.png out.png 2>&1 | sed 's/: .*: ERROR/: DRIVER: ERROR/'
  upscale: DRIVER: ERROR:SHADER_COMPILATION_ERROR of type: VERTEX
  [3]
  $ ls -A
  icon.png
  in.png
  short.png

The content of an input decides its format, and the name of an output.
  $ convert -size 16x12 xc:teal -seed 7 +noise Random -depth 16 deep.png
  $ quarters 16x12 in.png
  $ upscale --scale 2 deep.png out.png
  upscale: warning: deep.png: 16 bits a channel are reduced to 8
  $ upscale --scale 1 in.png photo.jpg --quality 95
  upscale: warning: photo.jpg: JPEG cannot hold the input's texts
  $ mv photo.jpg photo.png
  $ upscale --scale 2 photo.png picture.Webp
  $ upscale --scale 1 picture.Webp picture --format jpeg
  $ identify -format '%f %m %wx%h\n' photo.png picture.Webp picture
  photo.png JPEG 16x12
  picture.Webp WEBP 32x24
  picture JPEG 32x24
  $ convert in.png iso.tif
  $ exiftool -q -overwrite_original -ISO=200 iso.tif
  $ upscale --scale 1 iso.tif iso.png
  $ exiftool -s -ISO -StripOffsets iso.png
  ISO                             : 200
  $ rm iso.*
  $ for i in in.png picture; do convert $i -crop 1x1+0+0 corner-$i; done
  $ alike 8 corner-in.png corner-picture

--verbose prints the driver, the work, the times and the library's log.
  $ env debug.vardi.display.ups.enable=21 upscale --scale 2 in.png new.png --verbose 2>log
  $ grep -oE '^upscale: (driver: .*OpenGL ES 3\.|log: Upscaler: >> fsrResize)|fsr, sharpness|16x12 to 32x24|ms: read' log | sed 's/driver: .*OpenGL/driver: OpenGL/'
  upscale: log: Upscaler: >> fsrResize
  upscale: driver: OpenGL ES 3.
  fsr, sharpness
  16x12 to 32x24
  ms: read

The default sharpness goes by the scale.
  $ for scale in 50% 1 1.25 2 3.5 9; do
  >     upscale --op cas --scale $scale --verbose --force in.png new.png 2>&1 | grep -o ' sharpness [0-9.]*'
  > done
   sharpness 0.25
   sharpness 0.25
   sharpness 0.325
   sharpness 0.4
   sharpness 0.45
   sharpness 0.3

The disk fills up. The limit, in blocks of 512 bytes, is less than the output, which is large, and more than the files in
memory that a driver's compiler may use.
  $ convert -size 100x100 xc:teal +noise Random -depth 8 noise.png
  $ (ulimit -f 256; MESA_SHADER_CACHE_DISABLE=true upscale --size 1200x1200 noise.png full.png)
  upscale: full.png: File too large
  [1]
  $ ls -A
  corner-in.png
  corner-picture
  deep.png
  icon.png
  in.png
  log
  new.png
  noise.png
  out.png
  photo.png
  picture
  picture.Webp
  short.png
