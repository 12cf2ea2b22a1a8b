#include "cli/Command.h"

#include <algorithm>
#include <charconv>
#include <sstream>
#include <utility>

namespace storage::kvxtool {
namespace {

/// "a,b"
std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ",") + word;
    }
    return text;
}

template <class Number>
Option withRange(Option option, const char* kind, Number first, Number last) {
    const auto text = [](const auto&... parts) {
        std::ostringstream stream;
        (stream << ... << parts);
        return stream.str();
    };
    option.range = text(kind, " in [", first, " - ", last, "]");
    option.refusal = [=](const std::string& value) {
        const char* const end = value.data() + value.size();
        Number number{};
        const auto [rest, error] = std::from_chars(value.data(), end, number);
        const bool fits = error == std::errc() && rest == end && number >= first && number <= last;
        return fits ? "" : text(value, " is not a number from ", first, " to ", last);
    };
    return option;
}

}  // namespace

Option Option::required() && {
    count = ONE;
    return std::move(*this);
}

Option Option::withInitial(std::string text) && {
    initial = std::move(text);
    return std::move(*this);
}

Option Option::without(std::string other) && {
    excluded = std::move(other);
    return std::move(*this);
}

Option Option::together(std::string other) && {
    needed = std::move(other);
    return std::move(*this);
}

Option Option::oneOf(std::vector<std::string> allowed) && {
    words = std::move(allowed);
    range = "{" + joined(words) + "}";
    refusal = [all = words](const std::string& typed) {
        const bool known = std::find(all.begin(), all.end(), typed) != all.end();
        return known ? "" : typed + " is none of " + joined(all);
    };
    return std::move(*this);
}

Option Option::inRange(int first, int last) && {
    return withRange(std::move(*this), "INT", first, last);
}

Option Option::inRange(double first, double last) && {
    return withRange(std::move(*this), "FLOAT", first, last);
}

std::vector<std::string> Option::allNames() const {
    std::vector<std::string> result;
    std::istringstream stream(names);
    for (std::string name; std::getline(stream, name, ',');) {
        result.push_back(name);
    }
    return result;
}

std::string Option::shownName() const {
    const std::size_t longName = names.find("--");
    return longName == std::string::npos ? names : names.substr(longName);
}

Option flag(std::string names, std::string help) { return {std::move(names), std::move(help)}; }

Option option(std::string names, std::string value, std::string help) {
    return {std::move(names), std::move(help), OPTIONAL, std::move(value)};
}

Option argument(std::string name, std::string help, Count count) {
    return {std::move(name), std::move(help), count};
}

std::string Command::footer() const {
    std::string text = notes;
    if (!examples.empty()) {
        text += (text.empty() ? "" : "\n\n") + std::string("Examples:");
        for (const std::string& example : examples) {
            text += "\n  " + example;
        }
    }
    return text;
}

const Command* Command::find(const std::string& command) const {
    const auto found = std::find_if(commands.begin(), commands.end(),
                                    [&](const Command& each) { return each.name == command; });
    return found == commands.end() ? nullptr : &*found;
}

const Option* Command::findOption(const std::string& option) const {
    for (const Option& each : options) {
        const auto names = each.allNames();
        if (std::find(names.begin(), names.end(), option) != names.end()) {
            return &each;
        }
    }
    return nullptr;
}

const std::string& Invocation::text(const std::string& option) const {
    static const std::string none;
    const std::vector<std::string>& all = texts(option);
    return all.empty() ? none : all.back();
}

const std::vector<std::string>& Invocation::texts(const std::string& option) const {
    return values_.at(option);
}

double Invocation::number(const std::string& option) const { return std::stod(text(option)); }

}  // namespace storage::kvxtool
