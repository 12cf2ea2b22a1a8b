#include <dlfcn.h>
#include <gtest/gtest.h>

#include <exception>
#include <sstream>
#include <type_traits>

#include "storage/kvxclient/KVXClientException.h"

using namespace storage::kvxclient;

namespace {

TEST(Exception, tellsItsCodeInTextForAnyValue) {
    const struct {
        int value;
        const char* name;
    } rows[] = {
        {0, "UNAUTHORIZED"},
        {1, "INVALID_TOKEN"},
        {2, "BAD_NETWORK"},
        {3, "RESOURCE_NOT_FOUND"},
        {4, "PARENT_RESOURCE_NOT_FOUND"},
        {5, "CONFLICT"},
        {6, "FOLDER_NOT_EMPTY"},
        {7, "QUOTA_EXCEEDED"},
        {8, "FILE_TOO_LARGE"},
        {9, "ILLEGAL_PATH"},
        {10, "INVALID_SESSION_ID"},
        {11, "SESSION_EXPIRED"},
        {12, "UNKNOWN"},
        {13, "INTERNAL_SERVER_ERROR"},
        {14, "UNKNOWN"},
        {-1, "UNKNOWN"},
    };
    for (const auto& row : rows) {
        const auto code = static_cast<KVXClientErrorCode>(row.value);
        const std::string text = std::string("KVXClientErrorCode::") + row.name;
        std::ostringstream stream;
        EXPECT_EQ(&stream, &(stream << code));
        EXPECT_EQ(text, stream.str());
        EXPECT_EQ("Error: " + text, KVXClientException(code).what());
        EXPECT_EQ(code, KVXClientException(code).getErrorCode());
    }
    EXPECT_EQ(13, static_cast<int>(KVXClientErrorCode::INTERNAL_SERVER_ERROR));
}

TEST(Exception, keepsCodeAndMessageThroughAnExceptionPointer) {
    const auto pointer =
        std::make_exception_ptr(KVXClientException(KVXClientErrorCode::QUOTA_EXCEEDED));
    try {
        std::rethrow_exception(pointer);
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ("Error: KVXClientErrorCode::QUOTA_EXCEEDED", error.what());
        KVXClientException copy = dynamic_cast<const KVXClientException&>(error);
        copy = KVXClientException(copy);
        EXPECT_EQ(KVXClientErrorCode::QUOTA_EXCEEDED, copy.getErrorCode());
        EXPECT_STREQ(error.what(), copy.what());
    }
    static_assert(std::is_nothrow_copy_constructible_v<KVXClientException>);
}

TEST(Exception, thrownInOneSharedObjectIsCaughtInAnother) {
    void* const thrower = dlopen(THROWER_PATH, RTLD_NOW | RTLD_LOCAL);
    void* const catcher = dlopen(CATCHER_PATH, RTLD_NOW | RTLD_LOCAL);
    ASSERT_TRUE(thrower && catcher) << dlerror();
    const auto throwConflict = reinterpret_cast<void (*)()>(dlsym(thrower, "throwConflict"));
    const auto catchFrom = reinterpret_cast<int (*)(void (*)())>(dlsym(catcher, "catchFrom"));
    ASSERT_TRUE(throwConflict && catchFrom) << dlerror();
    EXPECT_EQ(static_cast<int>(KVXClientErrorCode::CONFLICT), catchFrom(throwConflict));
}

}  // namespace
