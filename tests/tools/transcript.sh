#!/usr/bin/env bash
# transcript.sh CRAM FOLDER FAULTY_GL_LIBRARY TRANSCRIPT: has cram type the commands of a transcript into a shell, in a new
# folder. If what they print is no longer what stands there, it shows the difference as a patch:
#   ctest --preset dev -R Usage -V | sed 's/^[0-9]*: //' | patch -d tests/tools/transcripts
# The commands are looked for in FOLDER first.
set -eu
here=$(dirname "$(realpath "$0")")
export FAULTY_GL_LIBRARY=$(realpath "$3")
export PROJECT=$(realpath "$here/../..")
export TOOLS=$(realpath "$2")
export PATH=$TOOLS:$PATH
export LC_ALL=C.UTF-8

# cram leaves what it got beside the transcript; two drivers may run it at the same time.
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$4" "$work"
cd "$work"
"$1" --preserve-env --shell "$here/transcript_shell.sh" "$(basename "$4")"
