#include "json/Value.h"

#include <simdjson.h>

#include <bit>
#include <utility>

#include "json/Text.h"

namespace storage::kvxremote::json {

static_assert(sizeof(simdjson::dom::element) == 2 * sizeof(std::uint64_t));

/// The parser's own kind of value.
struct ValueAccess {
    static simdjson::dom::element element(const Value& value) {
        return std::bit_cast<simdjson::dom::element>(value.place_);
    }
    static Value value(const simdjson::dom::element& element) {
        Value value;
        value.place_ = std::bit_cast<std::array<std::uint64_t, 2>>(element);
        return value;
    }
};

namespace {

template <class Type>
Type as(const Value& value, const char* expected) {
    Type result{};
    if (ValueAccess::element(value).get<Type>().get(result) != simdjson::SUCCESS) {
        throw WireError(expected);
    }
    return result;
}

}  // namespace

bool Value::isString() const { return ValueAccess::element(*this).is_string(); }

bool Value::isNull() const { return ValueAccess::element(*this).is_null(); }

bool Value::asBool() const { return as<bool>(*this, "not true or false"); }

std::int64_t Value::asInteger() const {
    return as<std::int64_t>(*this, "no whole number of 64 bits");
}

std::uint64_t Value::asUnsigned() const {
    return as<std::uint64_t>(*this, "no positive whole number of 64 bits");
}

std::string_view Value::asString() const { return as<std::string_view>(*this, "no string"); }

std::string Value::asText() const {
    if (isString()) {
        return std::string(asString());
    }
    const auto object = as<simdjson::dom::object>(*this, "no text");
    std::string_view encoded;
    if (object["base64"].get(encoded) == simdjson::SUCCESS) {
        if (auto text = decodeBase64(encoded)) {
            return *std::move(text);
        }
    }
    throw WireError("no base64");
}

std::u16string Value::asText16() const {
    if (isString()) {
        if (auto text = toUtf16(asString())) {
            return *std::move(text);
        }
        throw WireError("no UTF-8");
    }
    std::u16string text;
    forEachElement([&text](Value unit) {
        const std::uint64_t number = unit.asUnsigned();
        if (number > 0xFFFF) {
            throw WireError("no unit of UTF-16");
        }
        text += static_cast<char16_t>(number);
    });
    return text;
}

std::size_t Value::size() const { return as<simdjson::dom::array>(*this, "no array").size(); }

void Value::visitElements(void* visitor, void (*visit)(void*, Value)) const {
    for (const simdjson::dom::element element : as<simdjson::dom::array>(*this, "no array")) {
        visit(visitor, ValueAccess::value(element));
    }
}

void Value::visitMembers(void* visitor, void (*visit)(void*, std::string_view, Value)) const {
    for (const auto& member : as<simdjson::dom::object>(*this, "no object")) {
        visit(visitor, member.key, ValueAccess::value(member.value));
    }
}

struct Document::Parser {
    simdjson::dom::parser parser;
};

// A parser's first document costs allocations, so each thread keeps one for the next.
std::unique_ptr<Document::Parser>& Document::kept() {
    thread_local std::unique_ptr<Parser> parser;
    return parser;
}

Document::Document(std::string_view text)
    : Document([text] {
          std::string padded;
          padded.reserve(text.size() + padding);
          padded = text;
          return padded;
      }()) {}

Document::Document(std::string&& text) : parser_(std::move(kept())) {
    static_assert(padding >= simdjson::SIMDJSON_PADDING);
    if (!parser_) {
        parser_ = std::make_unique<Parser>();
    }
    text.reserve(text.size() + padding);
    simdjson::dom::element root;
    if (parser_->parser.parse(text.data(), text.size(), false).get(root) != simdjson::SUCCESS) {
        throw WireError("no JSON");
    }
    root_ = ValueAccess::value(root);
    std::string().swap(text);  // The parser has all of it.
}

Document::~Document() {
    constexpr std::size_t largestKept = 64 * 1024;  // Else a large answer would hold its memory.
    if (parser_->parser.capacity() <= largestKept) {
        kept() = std::move(parser_);
    }
}

}  // namespace storage::kvxremote::json
