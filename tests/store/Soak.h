#pragma once

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

namespace storage::kvxstore {

/// Whether the tests take their time, as script/soak asks them to.
inline bool isSoak() { return std::getenv("KVXSTORE_SOAK") != nullptr; }

template <class Number>
Number longOrShort(Number soaking, Number otherwise) {
    return isSoak() ? soaking : otherwise;
}

/// Another one each time when soaking, told for a repetition: KVXSTORE_SOAK=<seed>.
inline unsigned seed() {
    const unsigned given = isSoak() ? std::strtoul(std::getenv("KVXSTORE_SOAK"), nullptr, 10) : 1;
    const unsigned seed = given != 0 ? given : std::random_device()();
    std::cout << "[     seed ] " << seed << '\n';
    return seed;
}

/// A line for the summary of script/soak.
inline std::ostream& report(const std::string& subject) {
    return std::cout << "[   result ] " << subject << ": ";
}

}  // namespace storage::kvxstore
