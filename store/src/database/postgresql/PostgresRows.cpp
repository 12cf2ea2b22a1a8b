#include "database/postgresql/PostgresRows.h"

#include <libpq-fe.h>

namespace storage::kvxstore::database {

void ClearPostgresResult::operator()(pg_result* result) const { PQclear(result); }

bool PostgresRows::next() {
    if (++row_ < PQntuples(result_.get())) {
        return true;
    }
    if (!more_) {
        return false;
    }
    result_ = more_();
    row_ = 0;
    return PQntuples(result_.get()) > 0;
}

std::string_view PostgresRows::bytes(int column) const {
    return {PQgetvalue(result_.get(), row_, column),
            static_cast<std::size_t>(PQgetlength(result_.get(), row_, column))};
}

// What a query counts or compares is shorter than a stored number.
std::int64_t PostgresRows::integer(int column) const {
    std::uint64_t number = 0;
    const std::string_view octets = bytes(column);
    for (const char octet : octets) {
        number = number << 8U | static_cast<unsigned char>(octet);
    }
    return octets.size() == sizeof(std::int32_t) ? static_cast<std::int32_t>(number)
                                                 : static_cast<std::int64_t>(number);
}

}  // namespace storage::kvxstore::database
