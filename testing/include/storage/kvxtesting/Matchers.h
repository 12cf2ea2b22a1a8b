#pragma once

/// @file
/// GoogleMock matchers for records and for the outcome of calls.

#include <gmock/gmock.h>

#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "storage/kvxclient.h"
#include "storage/kvxtesting/Printing.h"

namespace storage::kvxtesting {

namespace detail {

/// The resource that a record is about, or the one that it is.
template <class Record>
kvxclient::Resource resourceOf(const Record& record) {
    if constexpr (std::is_base_of_v<kvxclient::Resource, Record>) {
        return record;
    } else {
        return record.getResource();
    }
}

/// Runs a callable, or takes a future's outcome; returns what it threw.
template <class Call>
std::exception_ptr thrownBy(const Call& call) {
    try {
        if constexpr (std::is_invocable_v<const Call&>) {
            call();
        } else {
            // Matchers get constant references; the future itself is none.
            auto& future = const_cast<Call&>(call);
            if (future.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
                throw std::runtime_error("the call has not ended within a minute");
            }
            future.get();
        }
    } catch (...) {
        return std::current_exception();
    }
    return nullptr;
}

/// What an exception says; "succeeds" for none.
inline std::string wordsOf(const std::exception_ptr& error) {
    try {
        if (!error) {
            return "succeeds";
        }
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return std::string("fails: ") + exception.what();
    } catch (...) {
        return "fails";
    }
}

struct FieldText {
    std::string name;
    std::string value;
    bool isSecret = false;
};

/// The fields of a record as texts, secrets as they are.
template <class Record>
std::vector<FieldText> fieldsOf(const Record& record) {
    std::vector<FieldText> fields;
    kvxfields::forEachField(record, [&](const auto& field, const auto& value) {
        constexpr kvxfields::Kind kind = std::decay_t<decltype(field)>::kind;
        std::ostringstream text;
        if constexpr (kind != kvxfields::Kind::LOCAL) {
            kvxfields::detail::printValue(text, value);
        }
        fields.push_back({std::string(field.name), text.str(), kind == kvxfields::Kind::SECRET});
    });
    return fields;
}

}  // namespace detail

/// Matches a resource, or a record about one, with this path.
MATCHER_P(HasPath, path, "has the path " + ::testing::PrintToString(path)) {
    const kvxclient::Resource resource = detail::resourceOf(arg);
    *result_listener << "whose resource is " << resource;
    return resource.getPath() == path;
}

/// Matches a resource, or a record about one, with this bucket.
MATCHER_P(HasBucket, bucket, "has the bucket " + ::testing::PrintToString(bucket)) {
    const kvxclient::Resource resource = detail::resourceOf(arg);
    *result_listener << "whose resource is " << resource;
    return resource.getBucket() == bucket;
}

/// Matches a request or a response with this content.
MATCHER_P(HasContent, content, "has the content " + ::testing::PrintToString(content)) {
    const auto bytes = [&] {
        if constexpr (requires { arg.getResponseBody(); }) {
            return arg.getResponseBody();
        } else {
            return arg.getContent();
        }
    }();
    std::string text(bytes.begin(), bytes.end());
    *result_listener << "whose content is " << ::testing::PrintToString(text);
    return text == content;
}

/// Matches a record that is equal to this one, and names the fields that differ otherwise. What
/// equality leaves out is named as well where the records are unequal.
MATCHER_P(IsRecord, expected, ::testing::PrintToString(expected)) {
    const auto wanted = detail::fieldsOf(expected);
    const auto found = detail::fieldsOf(arg);
    const char* separator = "where ";
    for (std::size_t i = 0; i < found.size(); ++i) {
        if (found[i].value != wanted[i].value) {
            *result_listener << separator << found[i].name << " is not as expected";
            if (!found[i].isSecret) {
                *result_listener << ": " << found[i].value << ", not " << wanted[i].value;
            }
            separator = ", ";
        }
    }
    return arg == expected;
}

/// Matches a call that fails with this code: a callable without arguments, which it calls, or a
/// future, whose outcome it takes. Give it a future that is a variable.
MATCHER_P(FailsWith, code, "fails with " + ::testing::PrintToString(code)) {
    const std::exception_ptr error = detail::thrownBy(arg);
    *result_listener << "which " << detail::wordsOf(error);
    try {
        if (error) {
            std::rethrow_exception(error);
        }
    } catch (const kvxclient::KVXClientException& exception) {
        return exception.getErrorCode() == code;
    } catch (...) {
        // Another failure.
    }
    return false;
}

/// Matches a call that succeeds, as FailsWith() one that fails.
MATCHER(Succeeds, "succeeds") {
    const std::exception_ptr error = detail::thrownBy(arg);
    *result_listener << "which " << detail::wordsOf(error);
    return error == nullptr;
}

}  // namespace storage::kvxtesting
