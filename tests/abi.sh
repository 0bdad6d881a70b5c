#!/usr/bin/env bash
# What clients depend on: the names that the two libraries export and the layout of the classes in the headers.
# Usage: abi.sh LIBRARY HOST_LIBRARY [LIST]. Prints it or, with a list, shows how it differs from the list. After an
# intended change, decide about the SOVERSION and then run: abi.sh ... >abi.txt
set -euo pipefail
cd "$(dirname "$0")/.."

names() { nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort; }
# The layout by the C++ ABI, which both compilers follow: the bases and members of each class, then its size.
layouts() {
    echo '#include <upscaler/upscaler.h>
        using namespace android;
        size_t sizes[] = {sizeof(Upscaler), sizeof(GfxShader), sizeof(GraphicBuffer), sizeof(Fence)};' |
        clang++ -std=c++17 -x c++ -fsyntax-only -Iinclude -Ihost/include -isystem /usr/include/android \
            -Xclang -fdump-record-layouts - |
        awk '/Dumping AST Record/ { on = 0 }
            / (android::(Upscaler|GfxShader|GraphicBuffer|Fence)|ANativeWindowBuffer)$/ { on = 1 }
            on && / \| (  )?[^ ]/ && sub(/^ +/, "")'
}
all() {
    printf '%s\n' 'libupscaler exports:' "$(names "$1")" 'libupscaler_host exports:' "$(names "$2")" \
        'The classes are laid out as:' "$(layouts)"
}
if [ $# -lt 3 ]; then all "$@"; else diff -u "$3" <(all "$1" "$2"); fi
