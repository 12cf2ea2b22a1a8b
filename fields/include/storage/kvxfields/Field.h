#pragma once

/// @file
/// What a field of a record is: its name, how it is read and how it is set.

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

namespace storage::kvxfields {

/// What is done with a field beside reading and setting it.
enum class Kind {
    PLAIN,    ///< Anything.
    SECRET,   ///< Never shown: who knows the value may act with it.
    CONTENT,  ///< Bytes of a file: shown as their number, and never part of a text.
    LOCAL     ///< A callable, which means nothing outside the process.
};

/// The list of a record's fields. Specialised for each record, with the record's `name` and a tuple
/// `list` of its fields, arguments of the constructor first, in its order.
template <class Record>
struct Fields;

/// Whether a type is a record with a list of fields.
template <class Type, class = void>
inline constexpr bool isRecord = false;
/// @cond
template <class Type>
inline constexpr bool isRecord<Type, std::void_t<decltype(Fields<Type>::list)>> = true;
/// @endcond

namespace detail {

template <class Type>
struct Getter;
template <class AnyRecord, class Result>
struct Getter<Result (AnyRecord::*)() const> {
    using Record = AnyRecord;
    using Value = std::decay_t<Result>;
};

template <class Type>
inline constexpr bool isOptional = false;
template <class Type>
inline constexpr bool isOptional<std::optional<Type>> = true;

}  // namespace detail

/// A field that is read by the member function `getter` and set by `setter`, or by the record's
/// constructor if `setter` is null.
template <auto getter, auto setter, Kind fieldKind>
struct Field {
    /// The record.
    using Record = typename detail::Getter<decltype(getter)>::Record;
    /// The type of the field's value.
    using Value = typename detail::Getter<decltype(getter)>::Value;
    /// What is done with it.
    static constexpr Kind kind = fieldKind;
    /// Whether the record's constructor takes the value.
    static constexpr bool isArgument = std::is_null_pointer_v<decltype(setter)>;

    /// The field's name: its getter's, without "get" or "is".
    std::string_view name;

    /// Returns the value.
    static decltype(auto) get(const Record& record) { return (record.*getter)(); }
    /// Sets the value; an empty optional leaves the field as it is.
    static void set(Record& record, Value value) {
        if constexpr (isArgument) {
            static_assert(!isArgument, "the constructor sets this field");
        } else if constexpr (detail::isOptional<Value>) {
            if (value) {
                (record.*setter)(*std::move(value));
            }
        } else {
            (record.*setter)(std::move(value));
        }
    }
};

/// The bytes that a record has or refers to. As a field its value is their number.
template <auto getter, auto sizer, auto setter>
struct ContentField {
    using Record = typename detail::Getter<decltype(getter)>::Record;  ///< The record.
    using Value = unsigned long;                                       ///< The number of bytes.
    static constexpr Kind kind = Kind::CONTENT;                        ///< What it is.
    static constexpr bool isArgument = false;                          ///< As in Field.

    std::string_view name;  ///< As in Field.

    /// Returns the number of bytes.
    static Value get(const Record& record) {
        if constexpr (std::is_null_pointer_v<decltype(sizer)>) {
            return (record.*getter)().size();
        } else {
            return (record.*sizer)();
        }
    }
    /// Returns the bytes as the record's getter does: a copy, a reference or a pointer.
    static decltype(auto) bytes(const Record& record) { return (record.*getter)(); }
    /// Gives the bytes to a record that has none. A record that only refers to its content refers
    /// to `bytes` from now on.
    static void setBytes(Record& record, std::string_view bytes) {
        if constexpr (std::is_invocable_v<decltype(setter), Record&, const char*, unsigned long>) {
            (record.*setter)(bytes.data(), bytes.size());
        } else if constexpr (std::is_invocable_v<decltype(setter), Record&, const unsigned char*,
                                                 unsigned long>) {
            (record.*setter)(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
        } else {
            (record.*setter)(std::string(bytes));
        }
    }
};

/// @name What the lists are made of
/// @{

/// A field with a setter.
template <auto getter, auto setter, Kind kind = Kind::PLAIN>
constexpr Field<getter, setter, kind> field(std::string_view name) {
    return {name};
}
/// A field that the record's constructor takes.
template <auto getter, Kind kind = Kind::PLAIN>
constexpr Field<getter, nullptr, kind> argument(std::string_view name) {
    return {name};
}
/// The content, whose number of bytes `sizer` returns, or the value of `getter` if it is null.
template <auto getter, auto sizer, auto setter>
constexpr ContentField<getter, sizer, setter> content(std::string_view name) {
    return {name};
}

/// @}

/// Calls `visit(field)` for each field of a type of records, in the order of its list.
template <class Record, class Visitor>
constexpr void forEachFieldOf(Visitor&& visit) {
    std::apply([&visit](const auto&... fields) { (visit(fields), ...); }, Fields<Record>::list);
}

/// Calls `visit(field, value)` for each field of a record, in the order of its list.
template <class Record, class Visitor>
void forEachField(const Record& record, Visitor&& visit) {
    forEachFieldOf<Record>([&](const auto& field) { visit(field, field.get(record)); });
}

/// Whether a field has a value that can be written down: content and callables do not.
template <class AnyField>
inline constexpr bool isWritten = AnyField::kind != Kind::CONTENT&& AnyField::kind != Kind::LOCAL;

/// The number of a record's fields.
template <class Record>
inline constexpr std::size_t fieldCount =
    std::tuple_size_v<std::decay_t<decltype(Fields<Record>::list)>>;

/// The type of a field.
template <class Record, std::size_t index>
using FieldAt = std::tuple_element_t<index, std::decay_t<decltype(Fields<Record>::list)>>;

namespace detail {

template <class... AnyField>
constexpr std::size_t countArguments(const std::tuple<AnyField...>&) {
    return (std::size_t(0) + ... + (AnyField::isArgument ? 1 : 0));
}

template <class... AnyField>
std::tuple<std::optional<typename AnyField::Value>...> valuesOf(const std::tuple<AnyField...>&);

}  // namespace detail

/// Builds a record from values that come in any order.
template <class Record>
class Builder {
public:
    /// Takes the value of the field at a place of the list; a later one replaces it.
    template <std::size_t index>
    void set(typename FieldAt<Record, index>::Value value) {
        if constexpr (arguments == 0) {
            FieldAt<Record, index>::set(state_, std::move(value));
        } else {
            std::get<index>(state_) = std::move(value);
        }
    }

    /// Returns the record, in which fields without a value have their default. Call it once.
    Record finish() {
        if constexpr (arguments == 0) {
            return std::move(state_);
        } else {
            return finish(std::make_index_sequence<arguments>(),
                          std::make_index_sequence<fieldCount<Record> - arguments>());
        }
    }

private:
    static constexpr std::size_t arguments = detail::countArguments(Fields<Record>::list);

    template <std::size_t... argument, std::size_t... other>
    Record finish(std::index_sequence<argument...>, std::index_sequence<other...>) {
        Record record(take<argument>()...);
        (setOther<arguments + other>(record), ...);
        return record;
    }

    template <std::size_t index>
    typename FieldAt<Record, index>::Value take() {
        auto& value = std::get<index>(state_);
        return value ? std::move(*value) : typename FieldAt<Record, index>::Value();
    }

    template <std::size_t index>
    void setOther(Record& record) {
        if constexpr (FieldAt<Record, index>::kind != Kind::CONTENT) {
            if (std::get<index>(state_)) {
                FieldAt<Record, index>::set(record, take<index>());
            }
        }
    }

    // The record, or its values while its constructor waits for some of them.
    std::conditional_t<arguments == 0, Record, decltype(detail::valuesOf(Fields<Record>::list))>
        state_;
};

}  // namespace storage::kvxfields

/// @cond
/// Lists the fields of a record of the interface, which they call R.
#define KVXFIELDS_LIST(Type, ...)                                  \
    template <>                                                    \
    struct Fields<kvxclient::Type> {                               \
        using R = kvxclient::Type;                                 \
        static constexpr std::string_view name = #Type;            \
        static constexpr auto list = std::make_tuple(__VA_ARGS__); \
    };
/// @endcond
