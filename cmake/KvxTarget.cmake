# Settings that every target of this project shares: kvx_target(<target> <standard> [HOT | TEST]).
# A TEST is never optimised: it would take longer to build than it saves when it runs. With
# sanitizers only a HOT target is, where the tests spend their time.
function(kvx_target target standard)
    cmake_parse_arguments(PARSE_ARGV 2 arg "HOT;TEST" "" "")
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
        # A unit of joined sources includes them, and so looks to GCC as if they were headers.
        $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<CXX_COMPILER_ID:GNU>>:-Wno-subobject-linkage>
        $<$<BOOL:${KVXCLIENT_WERROR}>:-Werror>)

    if(arg_TEST OR (KVXCLIENT_SANITIZE AND NOT arg_HOT))
        target_compile_options(${target} PRIVATE -O0)
    endif()
    if(KVXCLIENT_SANITIZE)
        target_compile_options(${target} PRIVATE
            -fsanitize=${KVXCLIENT_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
        target_link_options(${target} PRIVATE -fsanitize=${KVXCLIENT_SANITIZE})
    endif()
    if(KVXCLIENT_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage)
        target_link_options(${target} PRIVATE --coverage)
    endif()

    # In a unity build, three units a target: more would cost time in headers, fewer leave cores idle.
    get_target_property(sources ${target} SOURCES)
    list(LENGTH sources count)
    math(EXPR batch "(${count} + 2) / 3")
    if(batch LESS 4)
        set(batch 4)
    endif()
    set_target_properties(${target} PROPERTIES UNITY_BUILD_BATCH_SIZE ${batch})
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
