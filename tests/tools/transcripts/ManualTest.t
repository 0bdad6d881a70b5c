The man page and --help have the same options, and the man page has every operation, format and extension.
  $ manual() { GROFF_NO_SGR=1 man -l -Tascii "$TOOLS/upscale.1" | col -bx; }
  $ manual | sed -n '/^OPTIONS/,/^EXIT STATUS/p' | grep -oE '^ {7}(-h, ?)?--[a-z-]+' | grep -oE -- '--[a-z-]+' >manual
  $ upscale --help | sed -n '/^Scaling:/,/^Formats:/p' | grep -oE '^  (-h, ?)?--[a-z-]+' | grep -oE -- '--[a-z-]+' >help
  $ [ $(wc -l <help) -gt 20 ]
  $ diff manual help
  $ manual | tr -cs 'A-Za-z0-9.-' '\n' | sed 's/[.,]*$//' | sort -u >words
  $ upscale --help | sed -n '/^Formats:/,/^$/p' | sed '1d; s/(.*//' | tr -s ' ,' '\n' | grep . >formats
  $ [ $(wc -l <formats) -gt 6 ]
  $ (operations; cat formats) | grep -vxFf words
  [1]
