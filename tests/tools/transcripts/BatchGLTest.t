Many pictures into a folder.
  $ gradient() { convert -size $1 gradient:red-blue \( gradient:lime-black -rotate 180 \) -compose Plus -composite -depth 8 "$2"; }
  $ mkdir in
  $ gradient 20x12 in/a.png
  $ gradient 12x20 in/c.png
  $ mv in/c.png in/c.PNG
  $ upscale --scale 1 in/a.png in/b.jpg
  upscale: warning: in/b.jpg: JPEG cannot hold the input's texts

A fault of the driver ends the batch if the next picture would meet it too.
  $ faulty bad-shaders --op cas --scale 2 in new/ 2>&1 | sed 's/: .*: ERROR/: DRIVER: ERROR/'
  upscale: DRIVER: ERROR:SHADER_COMPILATION_ERROR of type: VERTEX
  [3]
  $ faulty fence-timeout --op cas --scale 2 in new/
  upscale: in/a.png: the driver: no result after 300 seconds
  upscale: 1 of 3 failed: in/a.png; 2 more were not tried
  [1]
  $ rmdir new
  $ faulty skip-later-draws --op cas --scale 2 in new/
  upscale: in/b.jpg: the driver: pixels of the result were left unwritten
  upscale: in/c.PNG: the driver: pixels of the result were left unwritten
  upscale: 2 of 3 failed: in/b.jpg, in/c.PNG
  [1]
  $ ls -A new
  a.png
  $ rm -r new
  $ faulty skip-draws --op cas --scale 2 in new/
  upscale: in/a.png: the driver: pixels of the result were left unwritten
  upscale: in/b.jpg: the driver: pixels of the result were left unwritten
  upscale: in/c.PNG: the driver: pixels of the result were left unwritten
  upscale: 3 of 3 failed: in/a.png, in/b.jpg, in/c.PNG
  [1]
  $ rmdir new

Bad pictures do not stop the others. Files of a folder without the extension of a picture are left out.
  $ mkdir more none
  $ cp in/* more
  $ cp in/b.jpg more/d.webp
  $ for name in bad.png note.txt .hidden.png; do echo junk >more/$name; done
  $ mkdir more/folder.png
  $ upscale --scale 2 more none lost.png out
  upscale: more: 2 other entries were passed over
  upscale: more/bad.png: not a PNG, * file (glob)
  upscale: none: no PNG, * files in this folder (glob)
  upscale: lost.png: No such file or directory
  upscale: 3 of 7 failed: more/bad.png, none, lost.png
  [1]
  $ identify -format '%f %m %wx%h\n' out/*
  a.png PNG 40x24
  b.jpg JPEG 40x24
  c.PNG PNG 24x40
  d.jpg JPEG 40x24
  $ upscale --scale 2 in/a.png one.png
  $ cmp out/a.png one.png
  $ upscale --quiet --scale 1 in/a.png in/b.jpg out/
  upscale: in/a.png: out/a.png: File exists; --force replaces it
  upscale: in/b.jpg: out/b.jpg: File exists; --force replaces it
  [1]

No output replaces another output, or an input that is still to be read.
  $ cp in/a.png in/b.png
  $ upscale --scale 1 --format png in named/
  upscale: in/b.png: named/b.png: is also the output of in/b.jpg, which came first
  upscale: 1 of 4 failed: in/b.png
  [1]
  $ ls -A named
  a.png
  b.png
  c.PNG
  $ upscale --scale 2 --format png --force in in
  upscale: in/b.jpg: in/b.png: is an input itself and is not replaced
  upscale: in/b.png: is also the output of in/b.jpg, which came first
  upscale: 2 of 4 failed: in/b.jpg, in/b.png
  [1]
  $ cmp in/b.png more/a.png
  $ identify -format '%wx%h\n' in/a.png
  40x24

Progress is for terminals only.
  $ upscale --force --scale 2 in out 2>&1 | grep '0 of 4'
  [1]
  $ script -qec "upscale --force --scale 2 in out" /dev/null | grep -o '0 of 4 pictures'
  0 of 4 pictures
  $ script -qec "upscale --force --scale 2 --quiet in out" /dev/null

Sizes may change with each picture: there are more of them than one set of buffers holds, twice.
  $ mkdir sizes
  $ for i in {10..31}; do gradient $((8 + i % 11))x9 sizes/$i.png; done
  $ upscale --op nea --scale 1 --sharpness 30 sizes same/
  $ for i in {10..31}; do alike 1 sizes/$i.png same/$i.png; done

A signal leaves whole files only.
  $ gradient 200x200 in/large.png
  $ mkdir one
  $ interrupted() { # FILE UNTIL
  >     upscale --op nea --size 3000x3000 $1 &
  >     for i in {1..6000}; do eval "$2" && kill -TERM $! && break; sleep 0.01; done
  >     wait $!
  > }
  $ interrupted 'in/a.png in/large.png in/c.PNG some/' '[ -e some/a.png -a -e some/.upscale-* ]'
  [143]
  $ identify -format '%f %wx%h\n' some/*
  a.png 3000x3000
  $ interrupted 'in/large.png one/b.png' '[ -e one/.upscale-* ]'
  [143]
  $ ls -A some one | xargs
  one: some: a.png
