#include "ui/Json.h"

#include <iostream>

namespace storage::kvxtool {

void printJson(const Json& object) {
    std::cout << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace storage::kvxtool
