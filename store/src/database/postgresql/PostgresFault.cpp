#include "database/postgresql/PostgresFault.h"

#include <libpq-fe.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "database/Connection.h"

namespace storage::kvxstore::database {

namespace {

std::string fieldOf(const pg_result& result, int field) {
    const char* text = PQresultErrorField(&result, field);
    return text != nullptr ? text : "";
}

template <std::size_t count>
bool isOneOf(const std::array<std::string_view, count>& codes, std::string_view code) {
    return std::ranges::find(codes, code) != codes.end();
}

}  // namespace

std::string oneLine(std::string message) {
    std::ranges::replace_if(
        message, [](char c) { return c == '\n' || c == '\t'; }, ' ');
    message.erase(message.find_last_not_of(' ') + 1);
    return message;
}

PostgresFault::PostgresFault(const pg_result& result)
    : code_(fieldOf(result, PG_DIAG_SQLSTATE)), message_(fieldOf(result, PG_DIAG_MESSAGE_PRIMARY)) {
    if (code_.empty()) {
        message_ = PQresultErrorMessage(&result);
    }
}

bool PostgresFault::isLost() const {
    // Shutdowns, too many connections, and a standby where the primary is meant.
    constexpr std::array<std::string_view, 6> lost{"57P01", "57P02", "57P03",
                                                   "53300", "25006", "25P03"};
    return code_.empty() || code_.starts_with("08") || isOneOf(lost, code_);
}

void PostgresFault::raise() const {
    // Serialization, deadlock, and a lock that was not free in time.
    if (isOneOf(std::array<std::string_view, 3>{"40001", "40P01", "55P03"}, code_)) {
        throw TransientError("the database is busy: " + message_);
    }
    const std::string_view code = code_;
    const StoreErrorCode meaning = code == "53100"   ? StoreErrorCode::FULL
                                   : code == "57014" ? StoreErrorCode::IN_USE
                                   : code == "42501" ? StoreErrorCode::NOT_WRITABLE
                                   : code == "42P01" || code == "42703" ? StoreErrorCode::DAMAGED
                                   : code == "XX001" || code == "XX002" ? StoreErrorCode::DAMAGED
                                                                        : StoreErrorCode::OTHER;
    throw DatabaseError(meaning, "the database failed: " + message_);
}

}  // namespace storage::kvxstore::database
