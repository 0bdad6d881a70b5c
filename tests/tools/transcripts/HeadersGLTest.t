Headers keep the tags that are not known. The rows: a range from an option, with and without a tag in the input; then the shape
of pixels: kept except for the rounding to whole pixels, from anamorphic to square, unknown, and too fine for 31 bits (1e-5 off).
  $ header() { echo YUV4MPEG2 $1 | upscale --size $2 - - "${@:3}"; }
  $ header 'W4 H3 F30000:1001 XA=1 Zz A4:3 XB' 8x6
  YUV4MPEG2 W8 H6 F30000:1001 XA=1 Zz A4:3 XB
  $ header 'XCOLORRANGE=LIMITED W4 H3' 8x6 --range full
  YUV4MPEG2 XCOLORRANGE=FULL W8 H6
  $ header 'W4 H3' 8x6 --range limited
  YUV4MPEG2 W8 H6 XCOLORRANGE=LIMITED
  $ header 'W101 H33 A16:15' 152x50
  YUV4MPEG2 W152 H50 A16:15
  $ header 'W720 H576 A64:45' 1024x576
  YUV4MPEG2 W1024 H576 A1:1
  $ header 'W4 H3 A0:0' 5x6
  YUV4MPEG2 W5 H6 A0:0
  $ header 'W499 H491 A4294967291:4294967279' 2x487 --quiet
  YUV4MPEG2 W2 H487 A1990762493:8044543

These frames are refused.
  $ frames() { printf "YUV4MPEG2 W2 H1 Cmono\n$1" | upscale --scale 1 - - >/dev/null; }
  $ frames 'FRAME\nab\n'
  upscale: standard input: no frame header before frame 2
  [1]
  $ frames 'FRAMES\nab'
  upscale: standard input: no frame header before frame 1
  [1]
  $ frames 'FRAME I1ip\nab'
  upscale: standard input: frame 1 ('I1ip') is interlaced; deinterlace it first (ffmpeg: -vf bwdif)
  [1]
  $ frames 'FRAME\nabFRAME\na'
  upscale: standard input: cut short in frame 2
  [1]
  $ frames 'FRAME\nabFRA'
  upscale: standard input: cut short in frame 2
  [1]
