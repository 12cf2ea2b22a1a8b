#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/PathEncoding.h"
#include "support/EncoderReference.h"

using namespace storage::kvxclient;

// The first byte says where in memory the text begins, so that every alignment comes up.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::size_t alignment = size == 0 ? 0 : data[0] % 8;
    const std::size_t units = size == 0 ? 0 : (size - 1) / sizeof(char16_t);
    std::vector<char16_t> memory(alignment + units);
    const std::u16string_view text(memory.data() + alignment, units);
    if (units != 0) {
        std::memcpy(memory.data() + alignment, data + 1, units * sizeof(char16_t));
    }
    const std::string utf8 = referenceUtf8(text);
    if (detail::toUtf8(text) != utf8 || detail::percentEncode(text) != referenceEscape(utf8)) {
        std::abort();
    }
    return 0;
}
