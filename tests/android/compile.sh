#!/usr/bin/env bash
# Compiles what Android.bp builds, with its flags, against Android's headers: those that Debian packages, and the
# declarations in include/ for the others. Links the library as far as its export list. Nothing is run.
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
# Newer platform trees can switch off implicit construction of sp. Older headers are edited to the same effect.
mkdir -p "$work/include/utils"
sed -E 's/ sp\([TU]\* other\);/ explicit&/; s/sp& operator = \([TU]\* other\);/[[deprecated]] &/' \
    /usr/include/android/utils/StrongPointer.h >"$work/include/utils/StrongPointer.h"
explicit=(-I"$work/include" -DANDROID_UTILS_REF_BASE_DISABLE_IMPLICIT_CONSTRUCTION)
for target in aarch64-linux-gnu x86_64-linux-gnu; do
    compile=(clang++ --target=$target -std=c++17 -stdlib=libc++ -fno-rtti -fPIC $flags -I. -Iinclude
        -isystem tests/android/include -isystem /usr/include/android -idirafter /usr/$target/include)
    mkdir "$work/$target"
    for source in $(sources libupscaler); do
        "${compile[@]}" "${explicit[@]}" $(strings libupscaler cflags) -MD -c "$source" \
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

# One target is enough for these.
for source in $(sources libupscaler_test) $(sources libupscaler_benchmark); do
    "${compile[@]}" -I"$(strings libupscaler_test local_include_dirs)" -fsyntax-only "$source"
done

# A device may trap on unsigned overflow, on which the hash of the key relies.
"${compile[@]}" -fsanitize=unsigned-integer-overflow -S -emit-llvm upscaler/upscaler.cpp -o "$work/key.ll"
awk '/^define .*bufferKey/ { on = 1; found = 1 } on && /with\.overflow/ { bad = 1 } /^}/ { on = 0 }
    END { exit bad || !found }' "$work/key.ll" || { echo "bufferKey is not exempt from the overflow check" >&2; exit 1; }
echo "ok: overflow"
