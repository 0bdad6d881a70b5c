# Run by CPack on the staged trees: what Debian's policy wants of a package beyond what is installed.
set(readable FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ) # Whatever the clone's are.
foreach(pair runtime:upscaler dev:libupscaler-dev)
    string(REPLACE ":" ";" pair ${pair})
    list(GET pair 0 component)
    list(GET pair 1 package)
    set(share "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/${component}/usr/share")
    file(COPY "${CMAKE_CURRENT_LIST_DIR}/copyright" "${CMAKE_CURRENT_LIST_DIR}/changelog"
        DESTINATION "${share}/doc/${package}" ${readable})
    if(EXISTS "${CMAKE_CURRENT_LIST_DIR}/${package}.lintian-overrides")
        configure_file("${CMAKE_CURRENT_LIST_DIR}/${package}.lintian-overrides"
            "${share}/lintian/overrides/${package}" COPYONLY ${readable})
    endif()
    file(GLOB pages "${share}/man/*/*.[1-9]")
    execute_process(COMMAND gzip -9nf ${pages} "${share}/doc/${package}/changelog" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
