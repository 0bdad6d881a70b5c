Sheets show the source first, and then what the operations make of it.
  $ convert -size 300x90 plasma:red-blue -seed 7 -depth 8 in.png
  $ sheet() { upscale --scale 2 --force in.png sheet.png --crop 50,20,200x50 --zoom 1 "$@"; }
  $ cell() { convert sheet.png -crop 400x100+$((16 + 416 * $1))+$((50 + 173 * $2)) +repage cell.png; }
  $ last() {
  >     upscale --scale 2 --force in.png last.png "$@"
  >     convert last.png -crop 400x100+100+40 +repage last.png
  > }
  $ convert in.png -crop 200x50+50+20 +repage -sample 200% source.png
  $ sheet --compare
  $ identify -format '%wx%h\n' sheet.png
  1680x396
  $ cell 0 0; alike 0 cell.png source.png
  $ last --op cast
  $ cell 2 1; alike 0 cell.png last.png
  $ sheet --op fsr --sweep 0:2:2
  $ identify -format '%wx%h\n' sheet.png
  1264x223
  $ cell 0 0; alike 0 cell.png source.png
  $ last --op fsr --sharpness 2
  $ cell 2 0; alike 0 cell.png last.png

  $ upscale --compare --scale 2 --crop 101,0,200x50 in.png s.png
  upscale: in.png: the part to show is not within its 300x90 pixels
  [1]
  $ upscale --compare --scale 0.001 --size 1x1 in.png s.png
  upscale: wrong usage: give one of --size, --fit and --scale
  [2]
  $ upscale --compare --size 1x1 --crop 0,0,1x1 in.png s.png
  upscale: in.png: nothing is left of the part to show
  [1]
  $ upscale --compare --scale 40 --crop 0,0,300x90 --zoom 64 in.png s.png
  upscale: s.png: a sheet of 3072080x460996 is too large; --crop and --zoom make it smaller
  [1]
  $ upscale --compare --scale 2 in.png sheet.png
  upscale: sheet.png: File exists; --force replaces it
  [1]
