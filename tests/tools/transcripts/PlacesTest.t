What is wrong with files and with the environment is told in one line. The exit code is 1 for files, 2 for the property and 3
for the driver. There is no driver here: files are checked before it is looked for.
  $ export __EGL_VENDOR_LIBRARY_FILENAMES=/nonexistent
  $ convert -size 4x3 xc:teal in.png
  $ touch empty.png
  $ echo 'not a picture at all' >text.png
  $ mkdir folder
  $ upscale --scale 2 missing.png out.png
  upscale: missing.png: No such file or directory
  [1]
  $ upscale --scale 2 in.png/below.png out.png
  upscale: in.png/below.png: Not a directory
  [1]
  $ upscale --scale 2 folder out.png
  upscale: folder: Is a directory
  [1]
  $ upscale --scale 2 empty.png out.png
  upscale: empty.png: the file is empty
  [1]
  $ upscale --scale 2 text.png out.png
  upscale: text.png: not a PNG, * file (glob)
  [1]
  $ upscale --size 1x65501 in.png out.JPG
  upscale: out.JPG: 1x65501 is too large: JPEG takes 65500 pixels a side
  [1]
  $ upscale --size 1x16384 in.png out.webp
  upscale: out.webp: 1x16384 is too large: WebP takes 16383 pixels a side
  [1]
  $ upscale --scale 0.1 in.png out.png
  upscale: in.png: 4x3 scaled by 0.1 leaves no pixels
  [1]
  $ upscale --scale 2 in.png missing/out.png
  upscale: missing/out.png: No such file or directory
  [1]
  $ upscale --scale 2 in.png text.png/out.png
  upscale: text.png/out.png: Not a directory
  [1]
  $ upscale --scale 2 in.png text.png
  upscale: text.png: File exists; --force replaces it
  [1]
  $ upscale --scale 2 in.png in.png
  upscale: in.png: File exists; --force replaces it
  [1]
  $ upscale --scale 2 in.png /dev/null
  upscale: /dev/null: not a regular file
  [1]
  $ upscale --scale 2 in.png out.png
  upscale: no usable EGL and OpenGL ES 3 driver: initEGL: Failed to get EGL display
  [3]
  $ upscale --scale 2 in.png new/
  upscale: no usable EGL and OpenGL ES 3 driver: initEGL: Failed to get EGL display
  [3]
  $ upscale --check
  upscale: no usable EGL and OpenGL ES 3 driver: initEGL: Failed to get EGL display
  [3]
  $ unset __EGL_VENDOR_LIBRARY_FILENAMES
  $ env debug.vardi.display.ups.enable=verbose upscale --scale 2 in.png out.png
  upscale: debug.vardi.display.ups.enable: not a hexadecimal number
  [2]
  $ env debug.vardi.display.ups.enable=123456789012345678901 upscale --scale 2 in.png out.png
  upscale: debug.vardi.display.ups.enable: not a hexadecimal number
  [2]
  $ cat text.png
  not a picture at all
  $ ls -A
  empty.png
  folder
  in.png
  text.png
