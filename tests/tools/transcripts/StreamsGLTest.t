Without scaling, and with next to no sharpening, nothing changes. No colour here is clipped.
  $ smooth() { printf 'defghijklmnopqrstuvwxyz{|}~%.0s' {1..99} | tail -c +$2 | head -c $1; } # BYTES FIRST
  $ for tags in 'W31 H17 F24:1 Ip A3:2 Cmono XYZ=1' 'W31 H17 C444 XCOLORRANGE=FULL' 'W31 H17 C444'; do
  >     bytes=$((31 * 17)); [[ $tags = *C444* ]] && bytes=$((bytes * 3))
  >     { echo YUV4MPEG2 $tags; echo FRAME Xa=1; smooth $bytes 1; echo FRAME Xb=2; smooth $bytes 9; } >in.y4m
  >     upscale --op nea --scale 1 --sharpness 100 in.y4m - | cmp - in.y4m
  > done

Options override what the stream tells: another matrix or range makes other colours, and sharpening shows the difference.
  $ { echo YUV4MPEG2 W16 H9 C420mpeg2 XCOLORRANGE=LIMITED; echo FRAME; smooth $((16 * 9 + 80)) 1; } >in.y4m
  $ for options in '' '--range full' '--matrix bt709' '--matrix bt2020'; do
  >     upscale --op cas --size 33x21 --sharpness 0 in.y4m out.y4m $options --force
  >     head -1 out.y4m
  >     tail -n +2 out.y4m | wc -c
  >     tail -n +2 out.y4m | md5sum >>sums
  > done
  YUV4MPEG2 W33 H21 C420mpeg2 XCOLORRANGE=LIMITED
  1073
  YUV4MPEG2 W33 H21 C420mpeg2 XCOLORRANGE=FULL
  1073
  YUV4MPEG2 W33 H21 C420mpeg2 XCOLORRANGE=LIMITED
  1073
  YUV4MPEG2 W33 H21 C420mpeg2 XCOLORRANGE=LIMITED
  1073
  $ sort -u sums | wc -l
  4

How a stream ends. A frame has 144 bytes here, and its result 230,400.
  $ { echo YUV4MPEG2 W16 H9 Cmono; for i in {1..6}; do echo FRAME; smooth 144 1; done; } >in.y4m
  $ head -c -1 in.y4m >cut.y4m
  $ { cat in.y4m; for i in {1..3}; do tail -n +2 in.y4m; done; } >long.y4m
  $ large() { upscale --scale 40 "$@"; }
  $ ls -A | wc -l
  5
  $ large in.y4m - | wc -c
  1382462
  $ head -1 in.y4m | large - - | wc -c
  26
  $ large - - <cut.y4m | wc -c
  upscale: standard input: cut short in frame 6
  1152056
  [1]
  $ faulty skip-draws --op cas --scale 1 in.y4m new.y4m
  upscale: the driver: pixels of the result were left unwritten
  [1]
  $ faulty fence-timeout --scale 1 in.y4m new.y4m
  upscale: the driver: no result after 300 seconds
  [1]
  $ large cut.y4m new.y4m
  upscale: cut.y4m: cut short in frame 6
  [1]
The input stays open after two frames (without a header, which would fail first): a reader that waits for a third frame must
not wait for ever.
  $ (exec 3< <(head -c 128 in.y4m; exec sleep 600); timeout 120 upscale --scale 40 --raw 4x4 - - <&3 >/dev/full; code=$?; kill $!; exit $code)
  upscale: standard output: No space left on device
  [1]
  $ { large long.y4m -; echo $? >&2; } | head -c 1000 >/dev/null
  141
  $ (trap '' PIPE; { large long.y4m -; echo $? >&2; } | head -c 1000 >/dev/null)
  141
  $ large --raw 5x5 --range full - - </dev/null
  upscale: --range: does not go with --raw
  [2]
  $ large in.y4m out.png
  upscale: out.png: video is written as Y4M, not as pictures
  [2]
  $ printf 'abc\0' | large --raw 1x1 - - | wc -c
  upscale: warning: standard input: frames are transparent in parts; the output is opaque
  6400
  $ ls -A | wc -l
  5
