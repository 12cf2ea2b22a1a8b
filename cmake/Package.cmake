# Debian packages, one a component: `cpack` in the build folder makes them.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "kvxclient developers <kvxclient@example.org>")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Our own libraries are named as dependencies below, at the very version.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS OFF)

# Describes the package of a component; `depends` adds to what its binaries need.
function(kvx_package component name summary section depends)
    string(TOUPPER ${component} id)
    set(CPACK_DEBIAN_${id}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${id}_DESCRIPTION "${summary}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${id}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${id}_PACKAGE_DEPENDS "${depends}" PARENT_SCOPE)
endfunction()

set(client libkvxclient${PROJECT_VERSION_MAJOR})
set(CPACK_COMPONENTS_ALL client client-dev)
kvx_package(client ${client} "Client interface of a cloud file-storage service" libs "")
kvx_package(client-dev libkvxclient-dev "Development files of libkvxclient" libdevel
    "${client} (= ${PROJECT_VERSION}), libboost-thread-dev")
if(KVXCLIENT_BUILD_STORE)
    list(APPEND CPACK_COMPONENTS_ALL store)
    kvx_package(store kvxstore "Embedded store that serves libkvxclient in-process" libs
        "${client} (= ${PROJECT_VERSION})")
    set(CPACK_DEBIAN_STORE_PACKAGE_RECOMMENDS libkvxclient-dev)
endif()
set(tool_depends "${client} (= ${PROJECT_VERSION}), kvxstore (= ${PROJECT_VERSION})")
if(KVXCLIENT_BUILD_REMOTE)
    list(APPEND CPACK_COMPONENTS_ALL remote server)
    kvx_package(remote kvxremote "Transport of libkvxclient to a server" libs
        "${client} (= ${PROJECT_VERSION})")
    set(CPACK_DEBIAN_REMOTE_PACKAGE_RECOMMENDS libkvxclient-dev)
    string(APPEND tool_depends ", kvxremote (= ${PROJECT_VERSION})")
    # The unit reloads with kill.
    kvx_package(server kvxd "Server of file stores" net "${tool_depends}, procps")
    set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_STRICT_PERMISSION ON)
    set(kvxd ${PROJECT_SOURCE_DIR}/remote/kvxd/package)
    set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA ${kvxd}/postinst ${kvxd}/prerm ${kvxd}/postrm)
endif()
if(KVXCLIENT_BUILD_TOOL)
    list(APPEND CPACK_COMPONENTS_ALL tool)
    kvx_package(tool kvx "Command-line tool for file stores" utils "${tool_depends}")
endif()

include(CPack)
