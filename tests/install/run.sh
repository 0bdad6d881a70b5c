#!/usr/bin/env bash
# Installs a build, moves the tree, and builds and runs clients against it in every way that is promised.
# Usage: run.sh BUILD_FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
build=$1
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

DESTDIR="$work/stage" cmake --install "$build" >"$work/install.log"
prefix=$(sed -n 's/^CMAKE_INSTALL_PREFIX:[^=]*=//p' "$build/CMakeCache.txt")
test -z "$(find "$work/stage" -type f -not -path "$work/stage$prefix/*")"
mv "$work/stage$prefix" "$work/moved"
prefix="$work/moved"

# Nothing outside its own folders, and the two libraries with their SONAMEs.
libdir=$(dirname "$(find "$prefix" -name libupscaler.so)")
for name in libupscaler libupscaler_host; do
    readelf -d "$libdir/$name.so" | grep -q "SONAME.*\[$name.so.0\]"
done
test -s "$prefix/share/man/man1/upscale.1"
test -s "$prefix/share/bash-completion/completions/upscale"
"$prefix/bin/upscale" --version
test "$(ls "$prefix/include")" = upscaler

export PKG_CONFIG_PATH="$libdir/pkgconfig"
cflags=$(pkg-config --cflags upscaler)
libs=$(pkg-config --libs upscaler)
cd "$work"
try() { # name, command...
    local name=$1
    shift
    "$@" -o client
    ./client >/dev/null && echo "ok: $name"
}
for cxx in g++ clang++; do
    try "$cxx, pkg-config" $cxx -std=c++17 "$here/client.cpp" $cflags $libs
    try "$cxx, -lEGL before" $cxx -std=c++17 "$here/client.cpp" $cflags -lEGL $libs
    try "$cxx, -lEGL after" $cxx -std=c++17 "$here/client.cpp" $cflags $libs -lEGL
    try "$cxx, the host's EGL" $cxx -std=c++17 "$here/egl_client.cpp" \
        $(pkg-config --cflags --libs upscaler-host-egl glesv2)
    try "$cxx, -lEGL before the host's" $cxx -std=c++17 -lEGL "$here/egl_client.cpp" \
        $(pkg-config --cflags --libs upscaler-host-egl glesv2)
    try "$cxx, --as-needed" $cxx -std=c++17 -Wl,--as-needed "$here/client.cpp" $cflags -lEGL $libs
    # The header compiles by itself, without a warning.
    $cxx -std=c++17 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Werror $cflags -include upscaler/upscaler.h -x c++ /dev/null
done
g++ -std=c++17 -shared -fPIC -Dmain=draw "$here/client.cpp" $cflags $libs -o plugin.so
g++ -std=c++17 "$here/dlopen_client.cpp" -Wl,--no-as-needed -lEGL -ldl -o dlopen_client
./dlopen_client "$libdir/libupscaler.so" ./plugin.so >/dev/null && echo "ok: dlopen"
cmake -G Ninja -S "$here" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" >"$work/cmake.log"
cmake --build "$work/cmake" >>"$work/cmake.log"
"$work/cmake/client" >/dev/null && echo "ok: find_package"
"$work/cmake/egl_client" >/dev/null && echo "ok: find_package, the host's EGL"
