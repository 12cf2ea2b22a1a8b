#pragma once

/// @file
/// Records as text: in the messages of tests, and in logs.

#include <ostream>
#include <sstream>
#include <string>

#include "storage/kvxfields/Print.h"

namespace storage::kvxclient {

/// Writes any record, field by field, as `LoginResponse{sessionId: ***, minutesBeforeRelogin: 60}`:
/// secrets as `***`, content as its size. GoogleTest finds it by itself. Include this header in all
/// units of a test program or in none, for GoogleTest prints a type in one way.
template <class Record>
std::enable_if_t<kvxfields::isRecord<Record>, std::ostream&> operator<<(std::ostream& stream,
                                                                        const Record& record) {
    kvxfields::print(stream, record);
    return stream;
}

}  // namespace storage::kvxclient

namespace storage::kvxtesting {

/// A record as operator<< writes it; the empty text for what is no record.
template <class Record>
std::string textOf(const Record& record) {
    std::ostringstream stream;
    if constexpr (kvxfields::isRecord<Record>) {
        kvxfields::print(stream, record);
    }
    return stream.str();
}

}  // namespace storage::kvxtesting
