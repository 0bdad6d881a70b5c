#!/usr/bin/env bash
# The shell of the transcripts: runs the commands that come on standard input, with these at hand.
set -o pipefail

# The names of all operations.
operations() {
    upscale --list | awk '/^[^ ]/ { print $1 }'
}

# The command on a driver with one of the faults that faulty_gl.cpp knows.
faulty() { # FAULT ARGUMENT...
    # The sanitizer's library wants to be first, which the preloaded one is.
    ASAN_OPTIONS="verify_asan_link_order=0:$ASAN_OPTIONS" LD_PRELOAD=$FAULTY_GL_LIBRARY FAULTY_GL=$1 upscale "${@:2}"
}

# Says so if two pictures differ by more: in the worst channel of all, alpha included, or by another metric.
alike() { # STEPS PICTURE PICTURE [METRIC], in steps of 8 bits
    { compare -metric "${4-PAE}" "$2" "$3" null: 2>&1 || :; } | # It fails if they differ at all.
        awk -v most="$1" -v pictures="$2 and $3" \
            '!(/^[0-9.e+]+ \(/ && $1 <= 257 * most) { print pictures, "differ by", $0 }'
}

# A picture of four colours of which no two channels go together.
quarters() { # SIZE PNG
    convert \( xc:'rgb(40,60,180)' xc:'rgb(220,60,90)' +append \) \( xc:'rgb(40,200,90)' xc:'rgb(220,200,180)' +append \) \
        -append -sample "$1!" -depth 8 "$2"
}

# From a file, or a command that reads its input would read the commands that follow.
commands=$(mktemp)
cat >"$commands"
. "$commands" </dev/null
