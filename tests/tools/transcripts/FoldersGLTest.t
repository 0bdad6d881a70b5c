Folders, trees and lists of pictures.
  $ mkdir -p in/sub/deep in/.hidden
  $ for name in a sub/b sub/deep/c .hidden/d; do quarters 8x6 in/$name.png; done
  $ touch in/note.txt
  $ mkfifo in/pipe.png
  $ scale() { upscale --op nea --scale 2 "$@"; }

A folder takes its pictures only.
  $ scale in out
  upscale: in: 3 other entries were passed over

A tree is kept. The results are no inputs, and links to folders are not followed.
  $ ln -s .. in/sub/up
  $ scale --recursive --suffix=-2x in in/out
  upscale: in: 3 other entries were passed over
  $ (cd in/out && find -type f | sort)
  ./a-2x.png
  ./sub/b-2x.png
  ./sub/deep/c-2x.png

A rerun does what is missing.
  $ rm in/out/sub/b-2x.png
  $ scale --recursive --suffix=-2x --skip-existing in in/out
  upscale: in: 4 other entries were passed over
  upscale: 2 of 3 exist already and were skipped
  $ ls in/out/sub/b-2x.png
  in/out/sub/b-2x.png
  $ scale --skip-existing in/a.png in/out/a-2x.png
  upscale: in/out/a-2x.png: exists already
  $ scale --skip-existing --force in out
  upscale: wrong usage: --force and --skip-existing do not go together
  [2]

A list has lines, or names that end with a NUL.
  $ quarters 8x6 "in/two
  > lines.png"
  $ find in/a.png in/two* -print0 | scale --files-from - lists/
  $ ls lists
  a.png
  two
  lines.png
  $ printf 'in/a.png\nnone.png' >list
  $ scale --files-from list lines/
  upscale: none.png: No such file or directory
  upscale: 1 of 2 failed: none.png
  [1]
  $ scale --files-from none lines/
  upscale: none: No such file or directory
  [1]
  $ scale --files-from list in/a.png
  upscale: in/a.png: not a folder
  [1]

What a terminal would obey is not sent to it.
  $ scale "$(printf 'in/\033[31mred.png')" out/
  upscale: in/\x1b[31mred.png: No such file or directory
  [1]

Wrong usage, and a text that nobody gets.
  $ scale --suffix a in/a.png out.png
  upscale: --suffix: is for pictures that go to a FOLDER
  [2]
  $ scale --suffix a/b in out
  upscale: --suffix: 'a/b' is not part of a name: it has a /
  [2]
  $ upscale --help >/dev/full
  upscale: standard output: No space left on device
  [1]
