What the tab key offers, by the file that bash-completion loads.
  $ . /usr/share/bash-completion/bash_completion
  $ . "$PROJECT/tools/command/upscale.bash"
  $ complete -p upscale
  complete -F _upscale upscale
  $ touch a.png a.txt b.JPG
  $ mkdir photos
  $ offered() { # WORD... of which the last one is being typed
  >     COMP_WORDS=(upscale "$@")
  >     COMP_CWORD=$#
  >     COMP_LINE=${COMP_WORDS[*]}
  >     COMP_LINE=${COMP_LINE// = /=} # The line is typed without spaces there, but bash splits it.
  >     COMP_POINT=${#COMP_LINE}
  >     COMPREPLY=()
  >     _upscale upscale 2>/dev/null
  >     echo "($(printf '%s\n' "${COMPREPLY[@]}" | sort | xargs))"
  > }
  $ [ "$(offered --op "")" = "($(operations | sort | xargs))" ]
  $ offered --scale 2 --op ca
  (cas cas-sharpen cast casv)
  $ offered --op = ca
  (cas cas-sharpen cast casv)
  $ offered --border p
  (pad)
  $ offered --s
  (--scale --sharpness --size --skip-existing --suffix --sweep)
  $ offered --scale ""
  ()
  $ offered --sharpness ""
  ()
  $ offered --list --q
  (--quality --quiet)
  $ for extension in jpeg webp y4m; do touch c.$extension; done
  $ offered c
  (c.jpeg c.webp c.y4m)
  $ rm c.*
  $ offered --force ""
  (a.png b.JPG photos)
  $ offered --force a
  (a.png)
