#pragma once

/// @file
/// Parsed JSON.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

#include "json/WireError.h"

namespace storage::kvxremote::json {

/// A value of a document, valid as long as the document. The as... functions throw a WireError if
/// the value is of another type or does not fit.
class Value {
public:
    /// Whether it is a string, which may be a word.
    bool isString() const;
    /// Whether it is null.
    bool isNull() const;

    bool asBool() const;
    std::int64_t asInteger() const;
    std::uint64_t asUnsigned() const;
    std::string_view asString() const;
    /// An 8-bit text as write() writes it.
    std::string asText() const;
    /// A UTF-16 text as write() writes it.
    std::u16string asText16() const;

    /// The number of an array's elements, or somewhat less if there are millions.
    std::size_t size() const;
    /// Calls `visit(value)` for each element of an array.
    template <class Visitor>
    void forEachElement(Visitor&& visit) const {
        visitElements(&visit, [](void* visitor, Value value) {
            (*static_cast<std::remove_reference_t<Visitor>*>(visitor))(value);
        });
    }
    /// Calls `visit(name, value)` for each member of an object.
    template <class Visitor>
    void forEachMember(Visitor&& visit) const {
        visitMembers(&visit, [](void* visitor, std::string_view name, Value value) {
            (*static_cast<std::remove_reference_t<Visitor>*>(visitor))(name, value);
        });
    }

private:
    friend class Document;
    friend struct ValueAccess;

    void visitElements(void* visitor, void (*visit)(void*, Value)) const;
    void visitMembers(void* visitor, void (*visit)(void*, std::string_view, Value)) const;

    std::array<std::uint64_t, 2> place_{};
};

/// A parsed text.
class Document {
public:
    /// Parses a copy.
    /// @throws WireError if the text is not JSON.
    explicit Document(std::string_view text);
    /// Parses without a copy if the text's capacity leaves `padding` bytes behind it.
    /// @throws WireError if the text is not JSON.
    explicit Document(std::string&& text);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    /// What the parser may read behind a text.
    static constexpr std::size_t padding = 64;

    /// The whole.
    Value root() const { return root_; }

private:
    struct Parser;
    static std::unique_ptr<Parser>& kept();

    std::unique_ptr<Parser> parser_;
    Value root_;
};

}  // namespace storage::kvxremote::json
