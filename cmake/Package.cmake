# What lets other builds find the installed libraries: the CMake package and upscaler.pc. Both work
# out the prefix from where they stand, so that the installed tree can be moved.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/upscaler)
install(EXPORT upscalerTargets NAMESPACE upscaler:: DESTINATION ${package_dir})
write_basic_package_version_file(upscalerConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    "${CMAKE_CURRENT_LIST_DIR}/upscalerConfig.cmake"
    "${CMAKE_CURRENT_LIST_DIR}/AndroidPlatform.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/upscalerConfigVersion.cmake"
    DESTINATION ${package_dir})

# Relative to the folder of upscaler.pc.
file(RELATIVE_PATH PC_TO_PREFIX
    "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
string(REGEX REPLACE "/$" "" PC_TO_PREFIX "${PC_TO_PREFIX}")
configure_file("${CMAKE_CURRENT_LIST_DIR}/upscaler.pc.in" upscaler.pc @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/upscaler.pc"
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
