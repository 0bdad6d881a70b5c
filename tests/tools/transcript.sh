#!/usr/bin/env bash
# transcript.sh FOLDER FAULTY_GL_LIBRARY TRANSCRIPT: types the commands of a transcript into a shell, in a new folder, and shows
# where what they print is no longer what stands there. The commands are looked for in FOLDER first.
#
# A command stands behind "$ ", more of it behind "> "; then what it prints, with "! " ahead of what goes to standard error,
# and its exit code, if that is not 0, in brackets.
set -o pipefail
export LC_ALL=C.UTF-8
export PATH=$(realpath "$1"):$PATH
faulty_gl=$(realpath "$2")
transcript=$(realpath "$3")
project=$(cd "$(dirname "$0")/../.." && pwd)

# The names of all operations.
operations() {
    upscale --list | awk '/^[^ ]/ { print $1 }'
}

# The command on a driver with one of the faults that faulty_gl.cpp knows.
faulty() { # FAULT ARGUMENT...
    # The sanitizer's library wants to be first, which the preloaded one is.
    ASAN_OPTIONS="verify_asan_link_order=0:$ASAN_OPTIONS" LD_PRELOAD=$faulty_gl FAULTY_GL=$1 upscale "${@:2}"
}

# Tells of it if two pictures differ by more: the worst channel of all, alpha included, or by another metric.
alike() { # STEPS PICTURE PICTURE [METRIC], in steps of 8 bits
    { compare -metric "${4-PAE}" "$2" "$3" null: 2>&1 || :; } | # It fails if they differ at all.
        awk -v most="$1" '!(/^[0-9.e+]+ \(/ && $1 <= 257 * most) { print "differ by", $0 }'
}

# A picture of four colours of which no two channels go together.
quarters() { # SIZE PNG
    convert \( xc:'rgb(40,60,180)' xc:'rgb(220,60,90)' +append \) \( xc:'rgb(40,200,90)' xc:'rgb(220,200,180)' +append \) \
        -append -sample "$1!" -depth 8 "$2"
}

run() {
    [ -n "$command" ] || return
    eval "$command" >"$work/out" 2>"$work/err" </dev/null
    local code=$?
    cat "$work/out"
    sed 's/^/! /' "$work/err"
    [ "$code" -eq 0 ] || echo "[$code]"
    command=
}

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/folder"
cd "$work/folder" || exit
while IFS= read -r line <&3; do
    case $line in
        '> '*) command+=$'\n'${line:2} ;;
        *) run ;;
    esac
    case $line in
        '$ '*) command=${line:2} ;;&
        '$ '* | '> '* | '#'* | '') printf '%s\n' "$line" ;;
    esac
done 3<"$transcript" >"$work/transcript"
run >>"$work/transcript"
diff -u "$transcript" "$work/transcript"
