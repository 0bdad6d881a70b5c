#!/usr/bin/env bash
# What clients depend on: the names that the two libraries export and the layout of the classes in the headers.
# Usage: abi.sh LIBRARY HOST_LIBRARY [LIST]. Prints it or, with a list, shows how it differs from the list. After an
# intended change, decide about the SOVERSION and then run: abi.sh ... >abi.txt
set -euo pipefail
cd "$(dirname "$0")/.."

names() { nm -D --defined-only "$1" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort; }
# The layout by the C++ ABI, which both compilers follow: the bases and members of each class, then its size. Compilers
# differ in the order of the classes and in whether they write a type's namespace.
layout() {
    echo "#include <upscaler/upscaler.h>
        size_t size = sizeof($1);" |
        clang++ -std=c++17 -x c++ -fsyntax-only -Iinclude -Ihost/include -isystem /usr/include/android \
            -Xclang -fdump-record-layouts - |
        awk -v "class=$1" '/Dumping AST Record/ { on = 0 }
            $0 ~ " " class "$" { on = 1 }
            on && / \| (  )?[^ ]/ && sub(/^ +/, "") { gsub(/android::/, ""); print }'
}
layouts() {
    for class in ANativeWindowBuffer android::{GraphicBuffer,Fence,GfxShader,Upscaler}; do
        layout "$class"
    done
}
all() {
    printf '%s\n' 'libupscaler exports:' "$(names "$1")" 'libupscaler_host exports:' "$(names "$2")" \
        'The classes are laid out as:' "$(layouts)"
}
if [ $# -lt 3 ]; then all "$@"; else diff -u "$3" <(all "$1" "$2"); fi
