--check knows good drivers from bad.
  $ all=$(operations | xargs | sed 's/ /, /g')
  $ upscale --check >report
  $ tail -1 report
  This machine's driver can be trusted: every operation gives the right pixels.
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
