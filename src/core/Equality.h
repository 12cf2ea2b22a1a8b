#pragma once

#include <cstring>
#include <string>
#include <type_traits>

namespace storage::kvxclient::detail {

// Fields are compared in two passes: first what the record itself holds, then what it points to,
// which costs another cache miss. Most records that differ do so in the first pass.

template <class Value>
constexpr bool isPlain = std::is_trivially_copyable_v<Value>;

template <class Value>
bool sameAtFirst(const Value& a, const Value& b) {
    if constexpr (isPlain<Value>) {
        return a == b;
    }
    return true;
}

template <class Char>
bool sameAtFirst(const std::basic_string<Char>& a, const std::basic_string<Char>& b) {
    return a.size() == b.size();
}

template <class Value>
bool sameInDepth(const Value& a, const Value& b) {
    if constexpr (!isPlain<Value>) {
        return a == b;
    }
    return true;
}

// The standard compares UTF-16 unit by unit; comparing bytes is faster and enough for equality.
template <class Char>
bool sameInDepth(const std::basic_string<Char>& a, const std::basic_string<Char>& b) {
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(Char)) == 0;
}

/// Whether two records are one object or agree in every field listed.
template <class Record, class... Fields>
bool equal(const Record& a, const Record& b, Fields Record::*... fields) {
    return &a == &b || ((sameAtFirst(a.*fields, b.*fields) && ...) &&
                        (sameInDepth(a.*fields, b.*fields) && ...));
}

}  // namespace storage::kvxclient::detail
