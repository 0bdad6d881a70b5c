# What lets other builds find the installed libraries: the CMake package, upscaler.pc and
# upscaler-host-egl.pc. They work out the prefix from where they stand, so that the installed tree
# can be moved; but not one under /usr, whose folders the compiler, the linker and the loader know.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/upscaler)
install(EXPORT upscalerTargets NAMESPACE upscaler:: DESTINATION ${package_dir} COMPONENT dev)
write_basic_package_version_file(upscalerConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    "${CMAKE_CURRENT_LIST_DIR}/upscalerConfig.cmake"
    "${CMAKE_CURRENT_LIST_DIR}/AndroidPlatform.cmake"
    "${CMAKE_CURRENT_BINARY_DIR}/upscalerConfigVersion.cmake"
    DESTINATION ${package_dir} COMPONENT dev)

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(PC_PREFIX /usr)
    set(PC_RPATH "")
else()
    # Relative to the folder of upscaler.pc.
    file(RELATIVE_PATH PC_PREFIX "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
    string(REGEX REPLACE "/$" "" PC_PREFIX "\${pcfiledir}/${PC_PREFIX}")
    set(PC_RPATH "-Wl,-rpath,\${libdir} ")
endif()
get_target_property(PC_WRAP upscaler_host_wrap INTERFACE_LINK_OPTIONS)
list(TRANSFORM PC_WRAP REPLACE "^LINKER:" "-Wl,")
list(JOIN PC_WRAP " " PC_WRAP)
foreach(name upscaler upscaler-host-egl)
    configure_file("${CMAKE_CURRENT_LIST_DIR}/${name}.pc.in" ${name}.pc @ONLY)
endforeach()
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/upscaler.pc" "${CMAKE_CURRENT_BINARY_DIR}/upscaler-host-egl.pc"
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# A pair of Debian packages: scripts/package makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_PACKAGING_INSTALL_PREFIX "${CMAKE_INSTALL_PREFIX}")
set(CPACK_STRIP_FILES ON)
set(UPSCALER_MAINTAINER "The upscaler developers <upscaler@example.org>" CACHE STRING
    "Whom the Debian packages name as their maintainer")
set(CPACK_PACKAGE_CONTACT "${UPSCALER_MAINTAINER}")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_PRE_BUILD_SCRIPTS "${CMAKE_CURRENT_LIST_DIR}/debian/complete.cmake")

set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON) # Whatever the clone's permissions are.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME upscaler)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_RECOMMENDS libgl1-mesa-dri)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA "${CMAKE_CURRENT_LIST_DIR}/debian/triggers")
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "\
The library libupscaler, what it needs of Android's graphics types and EGL
extensions on Linux (libupscaler_host), and the command upscale, which puts
the six operations to work on pictures.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libupscaler-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "upscaler (= ${PROJECT_VERSION}), \
android-libutils-dev, android-liblog-dev, android-libcutils-dev, libegl-dev, libgles-dev")
set(CPACK_DEBIAN_DEV_DESCRIPTION "\
The headers of libupscaler and libupscaler_host, and what pkg-config and CMake
need to find them.")
include(CPack)
