A wrong command line gets one line of message and exit code 2, and no file comes or goes.
  $ convert -size 4x3 xc:teal in.png
  $ wrong() { upscale "$@" in.png out.png; code=$?; [ $code -eq 2 ] || echo "exit code $code"; }
  $ upscale
  upscale: wrong usage: give the pictures IN and OUT; see --help
  [2]
  $ upscale --scale 2 in.png
  upscale: wrong usage: give the pictures IN and OUT; see --help
  [2]
  $ wrong
  upscale: wrong usage: give one of --size, --fit and --scale
  $ wrong --scale 2 --fit 5x5
  upscale: wrong usage: give one of --size, --fit and --scale
  $ wrong --scale 2 out.png
  upscale: wrong usage: 'out.png' is not a folder, which several pictures need; a name that ends in / makes one
  $ upscale --check in.png
  upscale: --check: does not take pictures
  [2]
  $ wrong --scale 2 --turn
  upscale: wrong usage: The following argument was not expected: --turn
  $ wrong --scale 2 --op best
  upscale: --op: 'best' is not an operation; choose fsr, nea, cas-sharpen, cas, casv or cast
  $ upscale in.png out.png --scale
  upscale: --scale: takes exactly one value
  [2]
  $ wrong --scale 2 --format gif
  upscale: --format: 'gif' is not a format; choose png, * (glob)
  $ upscale --scale 2 in.png out.tar.gif
  upscale: out.tar.gif: the extension does not name a format; choose one by --format: png, * (glob)
  [2]
  $ wrong --scale 2 --quality 5
  upscale: --quality: PNG is lossless and has no quality
  $ wrong --scale 2 --border none
  upscale: --border: 'none' is not a border; choose pad or raw
  $ wrong --scale 2 --zoom 2
  upscale: --zoom: does not go with pictures, only with --compare and --sweep
  $ wrong --scale 2 --zoom 2 --crop 0,0,1x1 --sweep 0:1 --compare
  upscale: --sweep: does not go with --compare, only with --sweep
  $ wrong --scale 2 --compare --op fsr
  upscale: --op: does not go with --compare, only with pictures, --sweep and video
  $ wrong --scale 2 --compare --crop 1,2,3
  upscale: --crop: '1,2,3' is not a part of a picture; give it as X,Y,WxH: 120,80,96x72
  $ wrong --scale 2 --compare --zoom 0
  upscale: --zoom: '0' is not a zoom; give 1 to 64
  $ wrong --scale 2 --sweep 0
  upscale: --sweep: '0' is not a range; give it as A:B or A:B:N
  $ wrong --scale 2 --sweep 0:1:99
  upscale: --sweep: '99' is not a number of values; give 2 to 15
  $ wrong --scale 2 --op cas --sweep 0:2
  upscale: --sweep: '2' is not a sharpness of cas (0 to 1: 0 strongest, 1 weakest)
  $ upscale --scale 2 --quality 5 - -
  upscale: --quality: does not go with video, only with pictures, --compare and --sweep
  [2]
  $ upscale --scale 2 --matrix bt2 - out.y4m
  upscale: --matrix: 'bt2' is not a matrix; choose bt601, bt709 or bt2020
  [2]
  $ values() { # MESSAGE OPTIONS VALUE...: each value gets the message, where VALUE stands for it
  >     for value in "${@:3}"; do
  >         said=$(wrong $2 "$value" 2>&1)
  >         [ "$said" = "upscale: ${1/VALUE/"'$value'"}" ] || echo "'$value': $said"
  >     done
  > }
  $ values '--fit: VALUE is not a size; give it as 1920x1080' --fit '' 5x x5 0x5
  $ values '--size: VALUE is not a size; give it as 1920x1080, 1920x or x1080' \
  >     --size '' x 5 0x x0 0x5 5x0 -5x5 5x5x5 5.5x5 ' 5x5' 4294967296x1 axb '5X5 '
  $ values '--scale: VALUE is not a scale; give a number above 0 or a percentage' --scale '' 0 -1 nan inf -inf 1e999 2x % 0% 2%% two 1e-999
  $ values '--quality: VALUE is not a quality; give 1 to 100' '--scale 2 --format jpeg --quality' '' 0 101 -1 9.5 best
  $ for op in $(operations); do
  >     scale=$(upscale --list | sed -n "/^$op /{n;s/^ *sharpness //;s/; default.*//p}")
  >     values "--sharpness: VALUE is not a sharpness of $op ($scale)" "--scale 2 --op $op --sharpness" '' nan inf -0.1 strong
  > done
  $ wrong --scale 2 --op cas --sharpness 1.01
  upscale: --sharpness: '1.01' is not a sharpness of cas (0 to 1: 0 strongest, 1 weakest)
  $ ls -A
  in.png

Texts go to standard output, failures to standard error.
  $ upscale --version 2>/dev/null | sed 's/[0-9.]*$/VERSION/'
  upscale VERSION
  $ upscale --list 2>/dev/null | head -2
  fsr          edge-adaptive upscaling, then sharpening
               sharpness in stops: 0 strongest, each +1 halves it; default 0.5 at 1x, 1 at 1.5x, * (glob)
  $ upscale --help 2>/dev/null | sed -n 1p
  Usage: upscale SIZE [OPTION...] IN OUT
  $ upscale --size 5 --help | grep .
  upscale: --size: '5' is not a size; give it as 1920x1080, 1920x or x1080
  [1]
  $ upscale --help | awk 'length > 80'
