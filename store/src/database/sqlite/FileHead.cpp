#include "database/sqlite/FileHead.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <string_view>

namespace storage::kvxstore::database {

using namespace std::string_view_literals;

std::string fileUri(const std::string& path) {
    std::string uri = "file://";
    for (const char c : path) {
        switch (c) {
            case '%':
                uri += "%25";
                break;
            case '?':
                uri += "%3f";
                break;
            case '\'':
                uri += "%27";
                break;
            case '#':
                uri += "%23";
                break;
            default:
                uri += c;
        }
    }
    return uri;
}

bool hasStoreHead(const std::string& path) {
    // Closing a descriptor of our own would drop the locks that other connections of this process
    // hold on the file.
    sqlite3* database = nullptr;
    sqlite3_file* file = nullptr;
    std::array<unsigned char, 72> head{};
    if (sqlite3_open_v2((fileUri(path) + "?immutable=1").c_str(), &database,
                        SQLITE_OPEN_READONLY | SQLITE_OPEN_URI, nullptr) == SQLITE_OK &&
        sqlite3_file_control(database, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK) {
        file->pMethods->xRead(file, head.data(), static_cast<int>(head.size()), 0);
    }
    sqlite3_close(database);
    constexpr std::string_view magic = "SQLite format 3\0"sv;
    constexpr std::array<unsigned char, 4> id{applicationId >> 24U, applicationId >> 16U & 0xFFU,
                                              applicationId >> 8U & 0xFFU, applicationId & 0xFFU};
    return std::equal(magic.begin(), magic.end(), head.begin()) &&
           std::equal(id.begin(), id.end(), head.begin() + 68);
}

bool awaitsRollback(const std::string& path) {
    constexpr std::string_view magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";
    std::string head(magic.size(), '\0');
    std::ifstream(path + "-journal", std::ios::binary).read(head.data(), std::ssize(head));
    return head == magic;
}

}  // namespace storage::kvxstore::database
