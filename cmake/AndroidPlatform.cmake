# The Android libraries that Debian packages, and the EGL and GLES dispatch libraries, as imported
# targets. Debian keeps the former in a folder of their own, so a consumer needs its rpath.
find_path(ANDROID_INCLUDE_DIR utils/RefBase.h
    PATHS /usr/include/android NO_DEFAULT_PATH
    DOC "Headers of android-libutils-dev")
find_library(ANDROID_UTILS_LIBRARY utils
    PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/android /usr/lib/android NO_DEFAULT_PATH
    DOC "libutils of android-libutils-dev")
if(NOT ANDROID_INCLUDE_DIR OR NOT ANDROID_UTILS_LIBRARY)
    message(FATAL_ERROR "The Android libraries are missing; on Debian: "
        "apt-get install android-libutils-dev android-liblog-dev android-libcutils-dev")
endif()
get_filename_component(ANDROID_LIBRARY_DIR "${ANDROID_UTILS_LIBRARY}" DIRECTORY)

if(NOT TARGET upscaler::android)
    add_library(upscaler::android INTERFACE IMPORTED)
    set_target_properties(upscaler::android PROPERTIES
        INTERFACE_INCLUDE_DIRECTORIES "${ANDROID_INCLUDE_DIR}"
        INTERFACE_SYSTEM_INCLUDE_DIRECTORIES "${ANDROID_INCLUDE_DIR}"
        INTERFACE_LINK_LIBRARIES "${ANDROID_LIBRARY_DIR}/libutils.so;${ANDROID_LIBRARY_DIR}/libcutils.so;${ANDROID_LIBRARY_DIR}/liblog.so"
        INTERFACE_LINK_OPTIONS "LINKER:-rpath,${ANDROID_LIBRARY_DIR}")
endif()
