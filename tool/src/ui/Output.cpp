#include "ui/Output.h"

#include <iostream>
#include <nlohmann/json.hpp>

#include "ui/Terminal.h"

namespace storage::kvxtool {

void Output::print(const Json& object, const std::string& text) const {
    json_ ? printJson(object) : printText(text);
}

void Output::remark(const Json& object, const std::string& text) const {
    json_ ? printJson(object) : remark(text);
}

void Output::remark(const std::string& text) const {
    if (!json_ && !quiet_ && !text.empty()) {
        printText(text);
    }
}

void Output::printJson(const Json& object) {
    std::cout << object.dump(-1, ' ', false, Json::error_handler_t::replace) << '\n';
}

void Output::printText(const std::string& text) { std::cout << text << '\n'; }

void Output::flushTerminal() {
    if (onTerminal()) {
        std::cout.flush();
    }
}

}  // namespace storage::kvxtool
