#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <type_traits>

namespace storage::kvxtool {

/// Keeps the order in which its fields are set.
using Json = nlohmann::ordered_json;

/// What a command prints on standard output: for people lines of text, for programs one JSON object
/// a line. Whatever has both forms is given as two values, or as two functions of which only the
/// one that is wanted is called.
class Output {
public:
    Output(bool json, bool quiet, bool verbose)
        : json_(json), quiet_(quiet), verbose_(verbose && !quiet) {}

    bool isJson() const { return json_; }
    bool isQuiet() const { return quiet_; }
    bool isVerbose() const { return verbose_; }

    /// Prints a line of a result. What is not valid UTF-8 becomes U+FFFD in JSON.
    void print(const Json& object, const std::string& text) const;
    template <class Object, class Text>
    requires std::is_invocable_v<Object> && std::is_invocable_v<Text>
    void print(const Object& object, const Text& text) const {
        json_ ? printJson(object()) : printText(text());
    }

    /// Says what was done: people are told only with -v.
    template <class Object, class Text>
    void detail(const Object& object, const Text& text) const {
        if (json_ || verbose_) {
            print(object, text);
            flushTerminal();
        }
    }

    /// The same for people who did not ask for silence with -q; an empty text says nothing.
    void remark(const Json& object, const std::string& text) const;
    /// For people only.
    void remark(const std::string& text) const;

private:
    static void printJson(const Json& object);
    static void printText(const std::string& text);
    static void flushTerminal();

    bool json_;
    bool quiet_;
    bool verbose_;
};

}  // namespace storage::kvxtool
