#include "client/Settings.h"

#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>

#include "protocol/Percent.h"

namespace storage::kvxremote {

namespace {

constexpr std::string_view defaultPort = "7420";
constexpr std::size_t longestSocketPath = 107;

[[noreturn]] void refuseSetting(const std::string& sentence) {
    throw std::invalid_argument(sentence);
}

bool removePrefix(std::string_view& text, std::string_view prefix) {
    if (text.substr(0, prefix.size()) != prefix) {
        return false;
    }
    text.remove_prefix(prefix.size());
    return true;
}

/// The part before the separator, which is taken away with it.
std::string_view takeUntil(std::string_view& text, char separator) {
    const std::size_t end = std::min(text.find(separator), text.size());
    const std::string_view part = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

template <class Number>
Number numberOf(std::string_view name, std::string_view text, Number least, Number most) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size() || number < least ||
        number > most) {
        refuseSetting("\"" + std::string(name) + "\" must be a number from " +
                      std::to_string(least) + " to " + std::to_string(most));
    }
    return number;
}

void readParameter(std::string_view name, std::string value, RemoteOptions& options) {
    if (name == "ca") {
        options.caFile = std::move(value);
    } else if (name == "cert") {
        options.certificateFile = std::move(value);
    } else if (name == "key") {
        options.keyFile = std::move(value);
    } else if (name == "timeout") {
        options.timeout = std::chrono::seconds(numberOf(name, value, 1, 86'400));
    } else if (name == "retries") {
        options.attempts = numberOf(name, value, 1U, 1'000U);
    } else if (name == "connections") {
        options.connections = numberOf<std::size_t>(name, value, 1, 1'024);
    } else {
        refuseSetting("the URL has an unknown option \"" + std::string(name) + "\"");
    }
}

void readParameters(std::string_view query, RemoteOptions& options) {
    while (!query.empty()) {
        std::string_view value = takeUntil(query, '&');
        const std::string_view name = takeUntil(value, '=');
        auto decoded = percentDecode(value);
        if (!decoded) {
            refuseSetting("the URL's option \"" + std::string(name) + "\" is not percent-encoded");
        }
        readParameter(name, *std::move(decoded), options);
    }
}

void checkOptions(const RemoteOptions& options) {
    using std::chrono_literals::operator""s;
    if (options.timeout < 1s || options.timeout > 86'400s) {
        refuseSetting("the time-out must be between 1 second and 1 day");
    }
    if (options.attempts < 1) {
        refuseSetting("there must be at least 1 attempt");
    }
    if (options.connections < 1 || options.connections > 1'024) {
        refuseSetting("there must be 1 to 1,024 connections");
    }
    if (options.certificateFile.empty() && !options.keyFile.empty()) {
        refuseSetting("a key needs its certificate");
    }
}

void addEnvironment(RemoteOptions& options, const Environment& environment) {
    if (options.caFile.empty()) {
        options.caFile = environment("KVX_CA_FILE");
    }
    if (options.certificateFile.empty() && options.keyFile.empty()) {
        options.certificateFile = environment("KVX_CLIENT_CERT");
        options.keyFile = environment("KVX_CLIENT_KEY");
    }
}

bool isIpv6(const std::string& text) {
    in6_addr address{};
    return inet_pton(AF_INET6, text.c_str(), &address) == 1;
}

bool isHostCharacter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_';
}

bool isLoopback(const std::string& host) {
    in_addr address{};
    if (inet_pton(AF_INET, host.c_str(), &address) == 1) {
        return (ntohl(address.s_addr) >> 24U) == 127;
    }
    return host == "localhost" || host == "[::1]";
}

struct HostAndPort {
    std::string host;
    std::string port;
};

HostAndPort parseServer(std::string_view text) {
    const std::size_t end = text.substr(0, 1) == "[" ? text.find(']') + 1 : text.find(':');
    const std::string host(text.substr(0, end));
    std::string_view rest = text.substr(std::min(end, text.size()));
    const bool inBrackets = host.size() > 2 && host.front() == '[';
    if (inBrackets ? !isIpv6(host.substr(1, host.size() - 2))
                   : host.empty() || !std::all_of(host.begin(), host.end(), isHostCharacter)) {
        refuseSetting("the URL names no host in \"" + std::string(text) + "\"");
    }
    if (rest.empty()) {
        return {host, std::string(defaultPort)};
    }
    if (!removePrefix(rest, ":")) {
        refuseSetting("the URL names no host in \"" + std::string(text) + "\"");
    }
    return {host, std::to_string(numberOf("port", rest, 1, 65'535))};
}

void readServers(std::string_view list, Settings& settings) {
    if (!list.empty() && list.back() == '/') {
        list.remove_suffix(1);
    }
    settings.direct = !settings.encrypted;
    do {
        const auto [host, port] = parseServer(takeUntil(list, ','));
        if (!settings.encrypted && !isLoopback(host)) {
            if (!settings.options.allowPlain) {
                refuseSetting("kvx+plain: would send everything readable to " + host +
                              "; use kvx: or an address of this machine");
            }
            settings.direct = false;
        }
        settings.servers.push_back((settings.encrypted ? "https://" : "http://") + host + ":" +
                                   port);
    } while (!list.empty());
}

void readSocketPath(std::string_view text, Settings& settings) {
    auto path = percentDecode(text);
    if (!path || path->substr(0, 1) != "/" || path->find('\0') != std::string::npos ||
        path->size() > longestSocketPath) {
        refuseSetting("kvx+unix: needs the absolute path of a socket, of at most " +
                      std::to_string(longestSocketPath) + " bytes");
    }
    settings.socketPath = *std::move(path);
    settings.direct = true;
    settings.servers.emplace_back("http://localhost");
}

}  // namespace

Settings parseSettings(std::string_view url, RemoteOptions options,
                       const Environment& environment) {
    Settings settings;
    std::string_view query = url;
    std::string_view place = takeUntil(query, '?');
    readParameters(query, options);
    addEnvironment(options, environment);
    checkOptions(options);
    settings.options = std::move(options);
    if (removePrefix(place, "kvx+unix://")) {
        readSocketPath(place, settings);
    } else if (removePrefix(place, "kvx+plain://")) {
        readServers(place, settings);
    } else if (removePrefix(place, "kvx://")) {
        settings.encrypted = true;
        readServers(place, settings);
    } else {
        refuseSetting("a server's URL begins with kvx://, kvx+plain:// or kvx+unix://");
    }
    return settings;
}

}  // namespace storage::kvxremote
