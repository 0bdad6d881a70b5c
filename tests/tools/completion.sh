#!/usr/bin/env bash
# completion.sh FILE: loads the completion as bash-completion does and asks for what the tab key would offer.
set -u
source /usr/share/bash-completion/bash_completion
source "$1"
complete -p upscale | grep -qx 'complete -F _upscale upscale' || { echo "not registered"; exit 1; }

folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
cd "$folder"
touch a.png a.txt b.JPG
mkdir photos

failures=0
expect() { # OFFERED WORD... : the last word is the one being typed
    local offered=$1
    shift
    COMP_WORDS=(upscale "$@")
    COMP_CWORD=$#
    COMP_LINE="${COMP_WORDS[*]}"
    COMP_LINE=${COMP_LINE// = /=} # The line is typed without spaces there, but bash splits it.
    COMP_POINT=${#COMP_LINE}
    COMPREPLY=()
    _upscale 2>/dev/null
    local got
    got=$(printf '%s\n' "${COMPREPLY[@]}" | sort | xargs)
    [ "$got" = "$offered" ] && return
    echo "upscale $*: offered '$got', not '$offered'"
    failures=$((failures + 1))
}
expect "cas cas-sharpen cast casv fsr nea" --op ""
expect "cas cas-sharpen cast casv" --scale 2 --op ca
expect "cas cas-sharpen cast casv" --op = ca
expect "pad" --border p
expect "--scale --sharpness --size --sweep" --s
expect "" --scale ""
expect "a.png b.JPG photos" --force ""
expect "a.png" --force a
exit "$((failures > 0))"
