#include "Address.h"

#include <arpa/inet.h>
#include <netdb.h>

#include <array>
#include <charconv>
#include <memory>
#include <stdexcept>

namespace storage::kvxserver {

namespace {

/// The first address of a name, in digits.
std::string lookUp(const std::string& name, const std::string& text) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE;
    addrinfo* found = nullptr;
    if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0 || found == nullptr) {
        throw std::invalid_argument("there is no such address: " + text);
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> owner(found, ::freeaddrinfo);
    std::array<char, NI_MAXHOST> digits{};
    ::getnameinfo(found->ai_addr, found->ai_addrlen, digits.data(), digits.size(), nullptr, 0,
                  NI_NUMERICHOST);
    return digits.data();
}

}  // namespace

Address parseAddress(const std::string& text) {
    Address address;
    address.text = text;
    if (text.rfind("unix:", 0) == 0) {
        address.path = text.substr(5);
        address.local = true;
        if (address.path.empty()) {
            throw std::invalid_argument("a path must follow \"unix:\"");
        }
        return address;
    }
    const std::size_t colon = text.rfind(':');
    const std::string digits = colon == std::string::npos ? "" : text.substr(colon + 1);
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), address.port);
    if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
        throw std::invalid_argument("an address is ADDRESS:PORT or unix:PATH, not " + text);
    }
    std::string host = text.substr(0, colon);
    const bool hasBrackets = host.size() > 2 && host.front() == '[' && host.back() == ']';
    if (host.empty() || (!hasBrackets && host.find(':') != std::string::npos)) {
        throw std::invalid_argument("an IPv6 address stands in brackets, as in [::1]:7420, not " +
                                    text);
    }
    host = hasBrackets ? host.substr(1, host.size() - 2) : host;
    address.host = lookUp(host, text);
    address.local = address.host.rfind("127.", 0) == 0 || address.host == "::1";
    return address;
}

}  // namespace storage::kvxserver
