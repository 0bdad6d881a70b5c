--check knows good drivers from bad.
  $ all=$(operations | xargs | sed 's/ /, /g')
  $ upscale --check >report
  $ tail -1 report
  This machine's driver can be trusted: every operation gives the right pixels.
  $ grep -c '^fences .* by a thread: ' report
  1

What the driver lacks is said under its table, and in one line by any other run.
  $ quarters 8x8 in.png
  $ for fault in gles-3.1 no-extensions; do
  >     faulty $fault --check >report; echo $fault $?
  >     grep -c '^shading language' report
  >     tail -1 report
  >     faulty $fault --scale 2 in.png out.png 2>&1 | sed 's/.*: //'
  > done
  gles-3.1 3
  1
  This machine's driver cannot be used: OpenGL ES 3.1; 3.2 is needed.
  OpenGL ES 3.1; 3.2 is needed
  no-extensions 3
  1
  This machine's driver cannot be used: no GL_OES_EGL_image.
  no GL_OES_EGL_image
  [3]

  $ for fault in fence-timeout no-blue skip-draws gl-error; do
  >     faulty $fault --check >report; echo $fault $?
  >     tail -1 report | sed "s/$all/every operation/"
  > done
  fence-timeout 3
  This machine's driver cannot be trusted: the driver: no result after 300 seconds.
  no-blue 3
  This machine's driver cannot be trusted: wrong in every operation.
  skip-draws 3
  This machine's driver cannot be trusted: wrong in every operation.
  gl-error 3
  This machine's driver cannot be trusted: wrong in every operation.
