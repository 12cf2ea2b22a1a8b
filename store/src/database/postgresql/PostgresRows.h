#pragma once

#include <functional>
#include <memory>

#include "database/Connection.h"

struct pg_result;

namespace storage::kvxstore::database {

struct ClearPostgresResult {
    void operator()(pg_result* result) const;
};
using PostgresResult = std::unique_ptr<pg_result, ClearPostgresResult>;

/// The rows of an answer in binary form. A null reads as 0 or an empty text.
class PostgresRows final : public Statement {
public:
    /// Where there is `more`, it gives the answer's next part, and at the end an empty one.
    explicit PostgresRows(PostgresResult result, std::function<PostgresResult()> more = {})
        : result_(std::move(result)), more_(std::move(more)) {}

    bool next() override;
    std::int64_t integer(int column) const override;
    std::string_view bytes(int column) const override;
    void release() noexcept override { delete this; }

private:
    PostgresResult result_;
    std::function<PostgresResult()> more_;
    int row_ = -1;
};

}  // namespace storage::kvxstore::database
