# Builds for Debian's arm64 on another machine: by its cross compiler, against packages of arm64 that stand beside the
# machine's own (multiarch). Tests run under QEMU where it is installed. scripts/arm64 does it all in a fresh system.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)

set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/aarch64-linux-gnu/pkgconfig:/usr/share/pkgconfig)

# Android's libraries need 7z.so from one of these. They say so themselves, but only a machine's own linker listens.
set(CMAKE_EXE_LINKER_FLAGS_INIT -Wl,-rpath-link,/usr/lib/p7zip:/usr/lib/7zip)

set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)

find_program(CMAKE_CROSSCOMPILING_EMULATOR NAMES qemu-aarch64 qemu-aarch64-static)
