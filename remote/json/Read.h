#pragma once

/// @file
/// Records from parsed JSON. Members that are no field are skipped, fields without a member keep
/// their default.

#include <array>
#include <chrono>
#include <iterator>
#include <limits>
#include <string>
#include <string_view>
#include <utility>

#include "json/Value.h"
#include "storage/kvxfields/Fields.h"
#include "storage/kvxfields/Words.h"

namespace storage::kvxremote::json {

template <class Record>
Record readRecord(Value value);

/// Converts a value.
/// @throws WireError if it is of another type.
template <class Type>
Type read(Value value) {
    if constexpr (kvxfields::isRecord<Type>) {
        return readRecord<Type>(value);
    } else if constexpr (std::is_same_v<Type, bool>) {
        return value.asBool();
    } else if constexpr (std::is_enum_v<Type>) {
        if (!value.isString()) {
            return static_cast<Type>(read<std::int32_t>(value));
        }
        if (const auto enumerator = kvxfields::enumeratorOf<Type>(value.asString())) {
            return *enumerator;
        }
        throw WireError("unknown word");
    } else if constexpr (std::is_unsigned_v<Type>) {
        static_assert(sizeof(Type) == sizeof(std::uint64_t));
        return value.asUnsigned();
    } else if constexpr (std::is_integral_v<Type>) {
        const std::int64_t number = value.asInteger();
        if (number < std::numeric_limits<Type>::min() ||
            number > std::numeric_limits<Type>::max()) {
            throw WireError("number too large");
        }
        return static_cast<Type>(number);
    } else if constexpr (std::is_same_v<Type, std::string>) {
        return value.asText();
    } else if constexpr (std::is_same_v<Type, std::u16string>) {
        return value.asText16();
    } else if constexpr (std::is_same_v<Type, std::chrono::system_clock::time_point>) {
        return Type(typename Type::duration(value.asInteger()));
    } else if constexpr (kvxfields::detail::isOptional<Type>) {
        return value.isNull() ? Type() : Type(read<typename Type::value_type>(value));
    } else {
        Type elements;
        if constexpr (requires { elements.reserve(1); }) {
            elements.reserve(value.size());
        }
        value.forEachElement([&elements](Value element) {
            elements.insert(elements.end(), read<typename Type::value_type>(element));
        });
        return elements;
    }
}

/// How a field with a name is read.
template <class Record>
struct FieldReader {
    std::string_view name;
    /// Null for what does not travel as JSON.
    void (*read)(kvxfields::Builder<Record>& builder, Value value) = nullptr;
};

/// The reader of the field at a place of the list.
template <class Record, std::size_t index>
constexpr FieldReader<Record> readerOf() {
    using Field = kvxfields::FieldAt<Record, index>;
    FieldReader<Record> reader{std::get<index>(kvxfields::Fields<Record>::list).name};
    if constexpr (kvxfields::isWritten<Field>) {
        reader.read = [](kvxfields::Builder<Record>& builder, Value value) {
            builder.template set<index>(read<typename Field::Value>(value));
        };
    }
    return reader;
}

/// The readers of a record's fields, in the order of the list.
template <class Record, std::size_t... index>
constexpr std::array<FieldReader<Record>, sizeof...(index)> makeReaders(
    std::index_sequence<index...>) {
    return {readerOf<Record, index>()...};
}

/// Reads a record from an object.
/// @throws WireError if it is none, or a member has the wrong type.
template <class Record>
Record readRecord(Value value) {
    constexpr std::size_t count = kvxfields::fieldCount<Record>;
    static constexpr auto readers = makeReaders<Record>(std::make_index_sequence<count>());
    kvxfields::Builder<Record> builder;
    std::size_t expected = 0;  // Members mostly come in the order of the list.
    value.forEachMember([&](std::string_view name, Value member) {
        for (std::size_t tried = 0; tried < count; ++tried, ++expected) {
            expected = expected < count ? expected : 0;
            if (readers[expected].name == name) {
                if (readers[expected].read != nullptr) {
                    readers[expected].read(builder, member);
                }
                ++expected;
                return;
            }
        }
    });
    return builder.finish();
}

}  // namespace storage::kvxremote::json
