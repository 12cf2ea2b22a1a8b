#include "Digest.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>
#include <vector>

namespace storage::kvxserver {

namespace {

std::string hexOf(const unsigned char* bytes, std::size_t digits) {
    static constexpr std::string_view hex = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < digits; ++i) {
        text += hex[i % 2 == 0 ? bytes[i / 2] >> 4U : bytes[i / 2] & 15U];
    }
    return text;
}

}  // namespace

std::string digestOf(std::string_view text) {
    // The key is of this process alone: nobody can try guesses against a log.
    static const std::string& key = *new std::string(randomDigits(32));
    const std::string salted = key + std::string(text);
    std::array<unsigned char, EVP_MAX_MD_SIZE> bytes{};
    if (EVP_Digest(salted.data(), salted.size(), bytes.data(), nullptr, EVP_sha256(), nullptr) !=
        1) {
        throw std::runtime_error("cannot make a digest");
    }
    return hexOf(bytes.data(), 16);
}

std::string randomDigits(std::size_t count) {
    std::vector<unsigned char> bytes(count / 2 + 1);
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("there are no random numbers");
    }
    return hexOf(bytes.data(), count);
}

}  // namespace storage::kvxserver
