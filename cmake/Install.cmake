# What is installed, by component: client, client-dev (with the headers for transports and the lists
# of fields), store, remote, server, tool, conformance,
# testing.
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/kvxclient)

# Installs a library, and what is needed to build with it: headers, CMake targets and a
# pkg-config file.
function(kvx_install_library target component dev_component header_dir description requires libs)
    install(TARGETS ${target} EXPORT ${target}Targets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT ${component} NAMELINK_COMPONENT ${dev_component}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT ${dev_component})
    # Of a folder that several libraries share, each has its own.
    install(DIRECTORY ${header_dir}/storage/${target}
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/storage COMPONENT ${dev_component})
    install(EXPORT ${target}Targets NAMESPACE kvxclient::
        DESTINATION ${package_dir} COMPONENT ${dev_component})
    set(name ${target})
    get_target_property(type ${target} TYPE)
    if(NOT type STREQUAL "INTERFACE_LIBRARY")
        set(libs "-L\${libdir} -l${target} ${libs}")
    endif()
    file(RELATIVE_PATH to_prefix /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/kvxclient.pc.in
        ${PROJECT_BINARY_DIR}/${target}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${target}.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT ${dev_component})
endfunction()

kvx_install_library(kvxclient client client-dev ${PROJECT_SOURCE_DIR}/include
    "${PROJECT_DESCRIPTION}" "" "-lboost_thread -lboost_system")
install(FILES include/storage/kvxclient.h
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/storage COMPONENT client-dev)
install(DIRECTORY ${PROJECT_BINARY_DIR}/include/
    DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT client-dev)
kvx_install_library(kvxtransport client-dev client-dev ${PROJECT_SOURCE_DIR}/transport/include
    "Headers to make transports of kvxclient with" "kvxclient" "")
kvx_install_library(kvxfields client-dev client-dev ${PROJECT_SOURCE_DIR}/fields/include
    "Lists of the fields of kvxclient's records" "kvxclient" "")
if(KVXCLIENT_BUILD_STORE)
    kvx_install_library(kvxstore store store ${PROJECT_SOURCE_DIR}/store/include
        "Embedded store that serves kvxclient in-process" "kvxtransport" "")
endif()
if(KVXCLIENT_BUILD_REMOTE)
    set(kvxd ${PROJECT_SOURCE_DIR}/remote/kvxd/package)
    kvx_install_library(kvxremote remote remote
        ${PROJECT_SOURCE_DIR}/remote/include
        "Transport of kvxclient to a server on another machine" "kvxclient" "")
    kvx_install_library(kvxserver server server
        ${PROJECT_SOURCE_DIR}/remote/include
        "Server that offers a transport of kvxclient to other machines" "kvxclient" "")
    install(TARGETS kvxd RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT server)
    install(FILES ${kvxd}/kvxd.8 DESTINATION ${CMAKE_INSTALL_MANDIR}/man8 COMPONENT server)
    install(FILES ${kvxd}/kvxd.service DESTINATION lib/systemd/system COMPONENT server)
endif()
if(KVXCLIENT_BUILD_CONFORMANCE)
    kvx_install_library(kvxconformance conformance conformance
        ${PROJECT_SOURCE_DIR}/conformance/include
        "Test suite that holds a transport to the contract of kvxclient" "kvxclient gtest" "")
endif()
if(KVXCLIENT_BUILD_TESTING)
    kvx_install_library(kvxtesting testing testing ${PROJECT_SOURCE_DIR}/testing/include
        "Test doubles, printing and coroutines for applications of kvxclient"
        "kvxtransport kvxfields gmock" "")
endif()
if(KVXCLIENT_BUILD_TOOL)
    install(TARGETS kvx RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    set(pages ${PROJECT_BINARY_DIR}/tool/share)
    set(share ${CMAKE_INSTALL_DATAROOTDIR})
    install(FILES ${pages}/kvx.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
    install(FILES ${pages}/kvx.bash DESTINATION ${share}/bash-completion/completions RENAME kvx
        COMPONENT tool)
    install(FILES ${pages}/kvx.fish DESTINATION ${share}/fish/vendor_completions.d COMPONENT tool)
    install(FILES ${pages}/_kvx DESTINATION ${share}/zsh/vendor-completions COMPONENT tool)
endif()

configure_package_config_file(cmake/kvxclientConfig.cmake.in
    ${PROJECT_BINARY_DIR}/kvxclientConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/kvxclientConfigVersion.cmake
    COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/kvxclientConfig.cmake
    ${PROJECT_BINARY_DIR}/kvxclientConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT client-dev)
