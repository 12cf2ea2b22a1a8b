# Settings that every target of this project shares.
function(kvx_target target standard)
    target_compile_features(${target} PUBLIC cxx_std_${standard})
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast -Wcast-qual
        -Wundef -Wextra-semi
        # A service's blocking and callback forms share a name on purpose.
        -Wno-overloaded-virtual
        $<$<BOOL:${KVXCLIENT_WERROR}>:-Werror>)
endfunction()

# A shared library: its exported name, its version, and of its symbols only the interface's.
function(kvx_shared_library target)
    add_library(kvxclient::${target} ALIAS ${target})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        EXPORT_NAME ${target})
    string(LENGTH ${target} name_length)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/exports.map.in ${target}.map @ONLY)
    target_link_options(${target} PRIVATE
        LINKER:--version-script=${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    # Most relocations are of tables inside the library: packed, they take a tenth of the room.
    target_link_options(${target} PRIVATE LINKER:-z,pack-relative-relocs)
    if(NOT KVXCLIENT_SANITIZE)  # Sanitizers resolve their own symbols at run time.
        target_link_options(${target} PRIVATE LINKER:--no-undefined)
    endif()
endfunction()

# Instruments every target made after this point.
set(KVXCLIENT_SANITIZE "" CACHE STRING "Sanitizers to build with, as in -fsanitize=")
option(KVXCLIENT_COVERAGE "Instrument for coverage" OFF)
if(KVXCLIENT_SANITIZE)
    add_compile_options(-fsanitize=${KVXCLIENT_SANITIZE} -fno-omit-frame-pointer
        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KVXCLIENT_SANITIZE})
endif()
if(KVXCLIENT_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
