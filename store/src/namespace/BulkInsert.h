#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "database/Connection.h"

namespace storage::kvxstore {

/// Inserts rows into a table, many at a time: a statement costs more than a row in it. Call
/// finish() after the last row.
template <std::size_t columns>
class BulkInsert {
public:
    using Row = std::array<database::Value, columns>;

    /// `table` is its name with the columns, as in "grants(node, name)".
    BulkInsert(database::Connection& database, const std::string& table)
        : database_(database), one_(sqlFor(table, 1)), many_(sqlFor(table, rowsAtOnce)) {}

    /// Copies the texts of the row, but not the blobs.
    void add(const Row& row) {
        for (const database::Value& value : row) {
            values_[count_] = value;
            if (const auto* text = std::get_if<std::string_view>(&value)) {
                values_[count_] = texts_[count_].assign(*text);
            } else if (const auto* freeText = std::get_if<database::FreeText>(&value)) {
                values_[count_] = database::FreeText{texts_[count_].assign(freeText->bytes)};
            }
            ++count_;
        }
        if (count_ == values_.size()) {
            run<columns * rowsAtOnce>(many_, 0);
            count_ = 0;
        }
    }

    void finish() {
        for (std::size_t start = 0; start < count_; start += columns) {
            run<columns>(one_, start);
        }
        count_ = 0;
    }

private:
    static constexpr std::size_t rowsAtOnce = 64;

    static std::string sqlFor(const std::string& table, std::size_t rows) {
        std::string sql = "insert into " + table + " values";
        for (std::size_t i = 0; i < rows * columns; ++i) {
            const char* const before = i == 0 ? "(" : i % columns == 0 ? "),(" : ",";
            sql.append(before).append(1, '$').append(std::to_string(i + 1));
        }
        return sql + ')';
    }

    template <std::size_t size>
    void run(const std::string& sql, std::size_t start) {
        [&]<std::size_t... i>(std::index_sequence<i...>) {
            database_.post(sql, {values_[start + i]...});
        }
        (std::make_index_sequence<size>());
    }

    database::Connection& database_;
    std::string one_;
    std::string many_;
    std::array<database::Value, columns * rowsAtOnce> values_;
    std::array<std::string, columns * rowsAtOnce> texts_;
    std::size_t count_ = 0;
};

}  // namespace storage::kvxstore
