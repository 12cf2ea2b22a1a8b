#pragma once

/// @file
/// Records as readable text.

#include <chrono>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iomanip>
#include <ostream>
#include <string>
#include <string_view>

#include "storage/kvxfields/Fields.h"
#include "storage/kvxfields/Words.h"

namespace storage::kvxfields {

template <class Record>
std::enable_if_t<isRecord<Record>> print(std::ostream& stream, const Record& record);

namespace detail {

inline void printText(std::ostream& stream, std::string_view text) {
    stream << '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            stream << '\\' << c;
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            char escape[5];
            std::snprintf(escape, sizeof(escape), "\\x%02X", static_cast<unsigned>(c));
            stream << escape;
        } else {
            stream << c;
        }
    }
    stream << '"';
}

// As 2026-01-31T12:00:00.123456789Z.
inline void printTime(std::ostream& stream, std::chrono::system_clock::time_point time) {
    const auto nanoseconds =
        std::chrono::duration_cast<std::chrono::nanoseconds>(time.time_since_epoch());
    const auto seconds = std::chrono::floor<std::chrono::seconds>(nanoseconds);
    const std::time_t whole = seconds.count();
    std::tm parts{};
    gmtime_r(&whole, &parts);
    char text[40];
    const std::size_t size = std::strftime(text, sizeof(text), "%Y-%m-%dT%H:%M:%S", &parts);
    std::snprintf(text + size, sizeof(text) - size, ".%09dZ",
                  static_cast<int>((nanoseconds - seconds).count()));
    stream << text;
}

template <class Value>
void printValue(std::ostream& stream, const Value& value) {
    if constexpr (isRecord<Value>) {
        print(stream, value);
    } else if constexpr (std::is_same_v<Value, bool>) {
        stream << (value ? "true" : "false");
    } else if constexpr (std::is_enum_v<Value>) {
        if (const std::string_view word = wordOf(value); !word.empty()) {
            stream << word;
        } else {
            stream << std::to_string(static_cast<std::int32_t>(value));
        }
    } else if constexpr (std::is_integral_v<Value>) {
        stream << std::to_string(value);  // Whatever base the stream has.
    } else if constexpr (std::is_same_v<Value, std::string>) {
        printText(stream, value);
    } else if constexpr (std::is_same_v<Value, std::u16string>) {
        printText(stream, kvxclient::Resource({}, value).getUTF8Bucket());
    } else if constexpr (std::is_same_v<Value, std::chrono::system_clock::time_point>) {
        printTime(stream, value);
    } else if constexpr (isOptional<Value>) {
        if (value) {
            printValue(stream, *value);
        } else {
            stream << "none";
        }
    } else {
        const char* separator = "";
        stream << '[';
        for (const auto& element : value) {
            stream << separator;
            printValue(stream, element);
            separator = ", ";
        }
        stream << ']';
    }
}

}  // namespace detail

/// Writes a record as `LoginResponse{sessionId: ***, minutesBeforeRelogin: 60}`: times in UTC,
/// secrets as `***` unless they are empty, content as its size. Control characters in texts are
/// written as \\xNN, so that a text is always one line.
template <class Record>
std::enable_if_t<isRecord<Record>> print(std::ostream& stream, const Record& record) {
    const char* separator = "";
    stream << Fields<Record>::name << '{';
    forEachField(record, [&](const auto& field, const auto& value) {
        stream << separator << field.name << ": ";
        separator = ", ";
        constexpr Kind kind = std::decay_t<decltype(field)>::kind;
        if constexpr (kind == Kind::SECRET) {
            stream << (value.empty() ? "\"\"" : "***");
        } else if constexpr (kind == Kind::LOCAL) {
            stream << (value ? "set" : "none");
        } else {
            detail::printValue(stream, value);
            stream << (kind == Kind::CONTENT ? " bytes" : "");
        }
    });
    stream << '}';
}

}  // namespace storage::kvxfields
