#pragma once

/// @file
/// The kinds of bodies that answers have.

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "json/Write.h"
#include "protocol/Wire.h"

namespace storage::kvxremote {

/// The size of blocks.
inline constexpr std::size_t blockSize = 256 * 1024;

/// Bytes that are there already.
template <class Bytes>
class WholeBody final : public Body {
public:
    explicit WholeBody(Bytes bytes) : bytes_(std::move(bytes)) {}

    std::string_view next() override {
        const std::string_view rest = std::string_view(bytes_.data(), bytes_.size()).substr(given_);
        const std::string_view block = rest.substr(0, blockSize);
        given_ += block.size();
        return block;
    }

private:
    const Bytes bytes_;
    std::size_t given_ = 0;
};

/// JSON that is written while it is taken, after a first block.
class WrittenBody final : public Body {
public:
    WrittenBody(std::string first, std::unique_ptr<json::Pieces> rest)
        : block_(std::move(first)), rest_(std::move(rest)) {}

    std::string_view next() override {
        if (isFirst_) {
            isFirst_ = false;
            return block_;
        }
        block_.clear();
        if (rest_ && !rest_->write(block_, blockSize)) {
            rest_.reset();
        }
        return block_;
    }

private:
    std::string block_;
    bool isFirst_ = true;
    std::unique_ptr<json::Pieces> rest_;
};

}  // namespace storage::kvxremote
