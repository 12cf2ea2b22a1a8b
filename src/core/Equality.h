#pragma once

#include <cstring>
#include <string>

namespace storage::kvxclient::detail {

template <class Value>
bool sameValue(const Value& a, const Value& b) {
    return a == b;
}

// The standard compares UTF-16 unit by unit; for equality the bytes do.
inline bool sameValue(const std::u16string& a, const std::u16string& b) {
    return a.size() == b.size() &&
           std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}

/// Whether two records are one object or agree in every field listed, compared in that order.
template <class Record, class... Fields>
bool equal(const Record& a, const Record& b, Fields Record::*... fields) {
    return &a == &b || (sameValue(a.*fields, b.*fields) && ...);
}

}  // namespace storage::kvxclient::detail
