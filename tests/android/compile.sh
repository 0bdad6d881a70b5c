#!/usr/bin/env bash
# Compiles what Android.bp builds, with its flags, against Android's headers: the declarations in include/ for what
# differs between releases or is not packaged, and those that Debian packages for the others. Links the library as far as
# its export list. Nothing is run.
# Usage: compile.sh WORK_FOLDER
set -euo pipefail
shopt -s globstar
work=$1
cd "$(dirname "$0")/../.."
rm -rf "$work"
mkdir -p "$work"

unformatted=$(bpfmt -d Android.bp)
[ -z "$unformatted" ] || { echo "bpfmt would change Android.bp: $unformatted" >&2; exit 1; }

# The strings that a module in Android.bp has under a name.
strings() { # MODULE LIST
    awk -v module="\"$1\"," -v list="$2:" '
        $1 == "name:" { inside = $2 == module }
        inside && $1 == list { on = 1 }
        on {
            for (line = $0; match(line, /"[^"]*"/); line = substr(line, RSTART + RLENGTH))
                print substr(line, RSTART + 1, RLENGTH - 2)
            if (/\]/ || ($1 == list && !/\[/)) on = 0
        }' Android.bp
}

flags=$(strings libupscaler_defaults cflags; strings libupscaler_defaults cppflags)
[[ $flags == *-ffp-contract=off*-fexceptions* ]]
sources() { # MODULE
    strings "$1" srcs | while read -r pattern; do printf '%s\n' $pattern; done
}
use() { # RELEASE TARGET
    compile=(clang++ --target=$2 -DANDROID_RELEASE=$1 -std=c++17 -stdlib=libc++ -fno-rtti -fPIC $flags -I. -Iinclude
        -isystem tests/android/include -isystem /usr/include/android -idirafter /usr/$2/include)
}

# The newest, as it is built. The library makes an sp of a pointer in the open only.
for target in aarch64-linux-gnu x86_64-linux-gnu; do
    use 16 $target
    mkdir "$work/$target"
    for source in $(sources libupscaler); do
        "${compile[@]}" -DEXPLICIT_SP $(strings libupscaler cflags) -MD -c "$source" \
            -o "$work/$target/$(basename "$source" .cpp).o"
    done
    ! grep -HE '(^| |/)host/' "$work/$target/"*.d || { echo "The library reads a header of host/" >&2; exit 1; }

    ld.lld -shared --version-script "$(strings libupscaler version_script)" "$work/$target/"*.o \
        -o "$work/$target/libupscaler.so"
    # The same as on Linux, but for the name that the standard library gives to its strings.
    names() { c++filt | sed 's/std::__[^:]*::/std::/g' | LC_ALL=C sort; }
    diff -u <(sed '1d; /^libupscaler_host/,$d' tests/abi.txt | names) \
        <(nm -D --defined-only "$work/$target/libupscaler.so" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | names)
    echo "ok: $target"
done

# One target is enough for these. Where the declarations differ: Android 12 to 16 have the same.
for release in 10 11 16; do
    use $release aarch64-linux-gnu
    built=$(sources libupscaler_benchmark)
    [ $release = 16 ] || built+=" $(sources libupscaler)" # of 16, it was compiled above
    # The tests read the log, and liblog has had a logger to hand it to since Android 11.
    [ $release = 10 ] || built+=" $(sources libupscaler_test)"
    for source in $built; do
        "${compile[@]}" -I"$(strings libupscaler_test local_include_dirs)" -fsyntax-only "$source"
    done
    echo "ok: Android $release"
done

# A client may be of a newer standard, and may refuse to make an sp of a pointer.
for standard in c++17 c++20 c++2b; do
    "${compile[@]}" -std=$standard -DANDROID_UTILS_REF_BASE_DISABLE_IMPLICIT_CONSTRUCTION \
        -fsyntax-only -x c++ - <<<'#include <upscaler/upscaler.h>'
done
echo "ok: clients"

# A device may trap on unsigned overflow, on which the hash of the key relies.
"${compile[@]}" -fsanitize=unsigned-integer-overflow -S -emit-llvm upscaler/upscaler.cpp -o "$work/key.ll"
awk '/^define .*bufferKey/ { on = 1; found = 1 } on && /with\.overflow/ { bad = 1 } /^}/ { on = 0 }
    END { exit bad || !found }' "$work/key.ll" || { echo "bufferKey is not exempt from the overflow check" >&2; exit 1; }
echo "ok: overflow"
