# SPDX-License-Identifier: Apache-2.0
# Completion of upscale's command line, for bash. Everything offered is read from `upscale --help`.
_upscale() {
    local cur prev words cword split help value extensions
    _init_completion -s || return
    help=$("$1" --help 2>/dev/null)

    # "  --border pad|raw  What ...": the words of a value are offered, for another value nothing.
    value=$(sed -nE "s/^  ${prev//[^a-z-]/} ([^ ]+).*/\1/p" <<<"$help")
    if [[ $prev == --* && $value ]]; then
        [[ $value == *[a-z]'|'[a-z]* ]] && COMPREPLY=($(compgen -W "${value//|/ }" -- "$cur"))
        return
    fi
    $split && return
    if [[ $cur == -* ]]; then
        COMPREPLY=($(compgen -W "$(grep -oE '^  (-h,)?--[a-z-]+' <<<"$help" | grep -o -- '--.*')" -- "$cur"))
        return
    fi
    extensions=$(sed -n '/^Formats:/,/^$/p' <<<"$help" | grep -oE '\.[a-z0-9]+' | tr -d '\n')
    extensions=${extensions#.}
    _filedir "@(${extensions//./|}|y4m)"
} &&
    complete -F _upscale upscale
