#pragma once

/// @file
/// Records as JSON: at once, or piece by piece.

#include <charconv>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "json/Text.h"
#include "storage/kvxfields/Fields.h"
#include "storage/kvxfields/Words.h"

namespace storage::kvxremote::json {

template <class Record>
void writeRecord(std::string& out, const Record& record);

/// Whether a field's value is a list of records, which may be long.
template <class Type>
inline constexpr bool isList = false;
/// @cond
template <class Type>
requires kvxfields::isRecord<typename Type::value_type>
inline constexpr bool isList<Type> = !kvxfields::detail::isOptional<Type>;
/// @endcond

/// Whether a record has fields that are lists.
template <class Record>
constexpr bool hasLists() {
    bool has = false;
    kvxfields::forEachFieldOf<Record>([&has](const auto& field) {
        has = has || isList<typename std::decay_t<decltype(field)>::Value>;
    });
    return has;
}

/// Appends a whole number.
template <class Number>
void writeNumber(std::string& out, Number number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    out.append(digits, end);
}

/// Appends a value.
template <class Type>
void writeValue(std::string& out, const Type& value) {
    if constexpr (kvxfields::isRecord<Type>) {
        writeRecord(out, value);
    } else if constexpr (std::is_same_v<Type, bool>) {
        out += value ? "true" : "false";
    } else if constexpr (std::is_enum_v<Type>) {
        if (const std::string_view word = kvxfields::wordOf(value); !word.empty()) {
            write(out, word);
        } else {
            writeNumber(out, static_cast<std::int32_t>(value));
        }
    } else if constexpr (std::is_integral_v<Type>) {
        writeNumber(out, value);
    } else if constexpr (std::is_same_v<Type, std::chrono::system_clock::time_point>) {
        writeNumber(out, value.time_since_epoch().count());
    } else if constexpr (isList<Type>) {
        const char* separator = "";
        out += '[';
        for (const auto& element : value) {
            out += separator;
            writeRecord(out, element);
            separator = ",";
        }
        out += ']';
    } else {
        write(out, value);
    }
}

/// Appends a field with what stands before it, if it travels as JSON and has a value. `writeNext`
/// appends the value.
template <class Field, class Type, class Writer>
void writeField(std::string& out, const Field& field, Type& value, bool& isFirst,
                Writer&& writeNext) {
    if constexpr (kvxfields::detail::isOptional<std::remove_const_t<Type>>) {
        if (value) {
            writeField(out, field, *value, isFirst, writeNext);
        }
    } else if constexpr (kvxfields::isWritten<Field>) {
        out += isFirst ? "{\"" : ",\"";
        out += field.name;
        out += "\":";
        isFirst = false;
        writeNext(value);
    }
}

/// Appends a record as an object, without its content.
template <class Record>
void writeRecord(std::string& out, const Record& record) {
    bool isFirst = true;
    kvxfields::forEachField(record, [&](const auto& field, const auto& value) {
        writeField(out, field, value, isFirst,
                   [&out](const auto& present) { writeValue(out, present); });
    });
    out += isFirst ? "{}" : "}";
}

/// JSON that is written piece by piece.
class Pieces {
public:
    virtual ~Pieces() = default;
    /// Appends until `out` has at least `size` bytes, or all is written. Returns whether more is
    /// to come.
    virtual bool write(std::string& out, std::size_t size) = 0;
};

template <class Record>
class RecordPieces;

/// The pieces of a list.
template <class List>
class ListPieces final : public Pieces {
public:
    explicit ListPieces(List list) : list_(std::move(list)), next_(list_.begin()) {}

    bool write(std::string& out, std::size_t size) override {
        while (out.size() < size) {
            if (element_) {
                if (element_->write(out, size)) {
                    return true;
                }
                element_.reset();
            }
            if (next_ == list_.end()) {
                out += isFirst_ ? "[]" : "]";
                return false;
            }
            out += isFirst_ ? '[' : ',';
            isFirst_ = false;
            writeNext(out);
        }
        return true;
    }

private:
    void writeNext(std::string& out) {
        using Element = typename List::value_type;
        if constexpr (hasLists<Element>()) {  // Of a set, which gives up what is written.
            auto node = list_.extract(next_++);
            element_ = std::make_unique<RecordPieces<Element>>(std::move(node.value()));
        } else {
            writeRecord(out, *next_++);
        }
    }

    List list_;
    typename List::const_iterator next_;
    bool isFirst_ = true;
    std::unique_ptr<Pieces> element_;
};

/// The pieces of a record, lists by element, other fields whole.
template <class Record>
class RecordPieces final : public Pieces {
public:
    explicit RecordPieces(Record record) : record_(std::move(record)) {}

    bool write(std::string& out, std::size_t size) override {
        while (out.size() < size) {
            if (list_) {
                if (list_->write(out, size)) {
                    return true;
                }
                list_.reset();
            }
            if (next_ == kvxfields::fieldCount<Record>) {
                out += isFirst_ ? "{}" : "}";
                return false;
            }
            writeAt(out, std::make_index_sequence<kvxfields::fieldCount<Record>>());
            ++next_;
        }
        return true;
    }

private:
    template <std::size_t... index>
    void writeAt(std::string& out, std::index_sequence<index...>) {
        (writeIf(index == next_, out, std::get<index>(kvxfields::Fields<Record>::list)), ...);
    }

    template <class Field>
    void writeIf(bool isNext, std::string& out, const Field& field) {
        if (isNext) {
            writeNext(out, field);
        }
    }

    template <class Field>
    void writeNext(std::string& out, const Field& field) {
        auto value = field.get(record_);
        writeField(out, field, value, isFirst_, [&](auto& present) {
            if constexpr (isList<std::decay_t<decltype(present)>>) {
                field.set(record_, {});  // What is written next is held once.
                list_ = std::make_unique<ListPieces<std::decay_t<decltype(present)>>>(
                    std::move(present));
            } else {
                writeValue(out, present);
            }
        });
    }

    Record record_;
    std::size_t next_ = 0;
    bool isFirst_ = true;
    std::unique_ptr<Pieces> list_;
};

}  // namespace storage::kvxremote::json
