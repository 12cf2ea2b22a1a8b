#include "core/Secrets.h"

#include <sodium.h>

#include <array>

#include "storage/kvxstore/StoreError.h"

namespace storage::kvxstore {

namespace {

constexpr std::size_t secretBytes = 32;

void startSodium() {
    static const bool started = sodium_init() >= 0;
    if (!started) {
        throw StoreError("the system has no source of randomness");
    }
}

}  // namespace

std::string newSecret() {
    startSodium();
    std::array<unsigned char, secretBytes> bytes{};
    randombytes_buf(bytes.data(), bytes.size());
    std::string text(2 * secretBytes + 1, '\0');
    sodium_bin2hex(text.data(), text.size(), bytes.data(), bytes.size());
    text.pop_back();
    return text;
}

std::int64_t newNumber() {
    startSodium();
    std::uint64_t bits = 0;
    randombytes_buf(&bits, sizeof(bits));
    return static_cast<std::int64_t>(bits >> 2U);
}

std::string hashOf(std::string_view secret) {
    startSodium();
    std::array<unsigned char, crypto_generichash_BYTES> hash{};
    crypto_generichash(hash.data(), hash.size(),
                       reinterpret_cast<const unsigned char*>(secret.data()), secret.size(),
                       nullptr, 0);
    return {hash.begin(), hash.end()};
}

}  // namespace storage::kvxstore
