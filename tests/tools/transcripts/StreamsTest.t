These streams are refused.
  $ header() { printf "$1" | upscale --scale 1 - -; }
  $ header ''
  upscale: standard input: the input is empty
  [1]
  $ header 'P6\n2 1\n255\n'
  upscale: standard input: not a Y4M stream
  [1]
  $ header "$(printf '%9000s' | tr ' ' x)"
  upscale: standard input: not a Y4M stream
  [1]
  $ header 'YUV4MPEG2X W2 H1\n'
  upscale: standard input: not a Y4M stream
  [1]
  $ header 'YUV4MPEG2 W2 H1 X\x1b[2J\n'
  upscale: standard input: not a Y4M stream
  [1]
  $ header "YUV4MPEG2 W2 H1 X$(printf '%9000s' | tr ' ' x)"
  upscale: standard input: the Y4M header does not end
  [1]
  $ header 'YUV4MPEG2 W2 H1'
  upscale: standard input: the Y4M header does not end
  [1]
  $ header 'YUV4MPEG2 W2 F25:1\n'
  upscale: standard input: the Y4M header has no size
  [1]
  $ header 'YUV4MPEG2 W0 H1\n'
  upscale: standard input: 'W0' in the Y4M header is not a size from 1 to 32768
  [1]
  $ header 'YUV4MPEG2 W2 H-1\n'
  upscale: standard input: 'H-1' in the Y4M header is not a size from 1 to 32768
  [1]
  $ header 'YUV4MPEG2 W2 H32769\n'
  upscale: standard input: 'H32769' in the Y4M header is not a size from 1 to 32768
  [1]
  $ header 'YUV4MPEG2 W99999999999 H1\n'
  upscale: standard input: 'W99999999999' in the Y4M header is not a size from 1 to 32768
  [1]
  $ header 'YUV4MPEG2 W2 H1 It\n'
  upscale: standard input: the video ('It') is interlaced; deinterlace it first (ffmpeg: -vf bwdif)
  [1]
  $ header 'YUV4MPEG2 W2 H1 Im\n'
  upscale: standard input: the video ('Im') is interlaced; deinterlace it first (ffmpeg: -vf bwdif)
  [1]
  $ header 'YUV4MPEG2 W2 H1 C420p10\n'
  upscale: standard input: the colour format 'C420p10' is not supported; 4:2:0, 4:2:2, 4:4:4 and mono of 8 bits are; convert it first (ffmpeg: -pix_fmt yuv420p)
  [1]
  $ header 'YUV4MPEG2 W2 H1 C444alpha\n'
  upscale: standard input: the colour format 'C444alpha' is not supported; 4:2:0, 4:2:2, 4:4:4 and mono of 8 bits are; convert it first (ffmpeg: -pix_fmt yuv420p)
  [1]

A name that ends in .y4m makes it video, on either side.
  $ convert -size 4x3 xc:teal in.png
  $ upscale --scale 2 in.png out.Y4M
  upscale: in.png: not a Y4M stream
  [1]
  $ upscale --scale 2 missing.y4m out.png
  upscale: out.png: video is written as Y4M, not as pictures
  [2]
