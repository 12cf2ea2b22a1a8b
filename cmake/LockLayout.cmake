# Measures the lock that KVXClient holds and writes the header that compares it with a consumer's.
# Runs at every configuration, since Boost may have been updated since the last one.
get_directory_property(lock_definitions COMPILE_DEFINITIONS)
list(TRANSFORM lock_definitions PREPEND -D)
try_run(lock_status lock_compiled
    SOURCE_FROM_CONTENT lock.cpp [[
        #include <boost/thread/shared_mutex.hpp>
        #include <cstdio>
        int main() {
            std::printf("%zu;%zu", sizeof(boost::shared_mutex), alignof(boost::shared_mutex));
        }
    ]]
    NO_CACHE
    COMPILE_DEFINITIONS ${lock_definitions}
    LINK_LIBRARIES Boost::thread
    CXX_STANDARD 17
    COMPILE_OUTPUT_VARIABLE lock_errors
    RUN_OUTPUT_VARIABLE lock_layout)
if(NOT lock_compiled OR NOT lock_status EQUAL 0)
    message(FATAL_ERROR "Cannot measure boost::shared_mutex:\n${lock_errors}")
endif()
list(GET lock_layout 0 lock_size)
list(GET lock_layout 1 lock_alignment)
configure_file(${PROJECT_SOURCE_DIR}/cmake/LockLayout.h.in
    ${PROJECT_BINARY_DIR}/include/storage/kvxclient/LockLayout.h @ONLY)
