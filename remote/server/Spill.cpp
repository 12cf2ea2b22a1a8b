#include "Spill.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace storage::kvxserver {

namespace {

constexpr std::size_t spillBlock = 256UL << 10U;

class SpillBuffer final : public std::streambuf {
public:
    explicit SpillBuffer(std::shared_ptr<Spill> spill) : spill_(std::move(spill)) {}

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        return spill_->write(data, static_cast<std::size_t>(size)) ? size : 0;
    }
    int_type overflow(int_type byte) override {
        const char data = traits_type::to_char_type(byte);
        return spill_->write(&data, 1) ? traits_type::not_eof(byte) : traits_type::eof();
    }

private:
    const std::shared_ptr<Spill> spill_;
};

class SpillStream final : public std::iostream {
public:
    explicit SpillStream(std::shared_ptr<Spill> spill)
        : std::iostream(nullptr), buffer_(std::move(spill)) {
        rdbuf(&buffer_);
    }

private:
    SpillBuffer buffer_;
};

}  // namespace

class SpillSource final : public Source {
public:
    explicit SpillSource(std::shared_ptr<Spill> spill) : spill_(std::move(spill)) {}
    ~SpillSource() override { spill_->abandon(); }

    void next(Ready ready) override { spill_->next(std::move(ready)); }
    std::string failure() const override { return spill_->failure().value_or(""); }

private:
    const std::shared_ptr<Spill> spill_;
};

Spill::~Spill() {
    if (file_ >= 0) {
        ::close(file_);
    }
}

std::unique_ptr<std::iostream> Spill::stream() {
    return std::make_unique<SpillStream>(shared_from_this());
}

std::unique_ptr<Source> Spill::source() {
    return std::make_unique<SpillSource>(shared_from_this());
}

bool Spill::write(const char* data, std::size_t size) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        total_ += size;
        const std::size_t skipped = std::min<std::uint64_t>(skip_, size);
        skip_ -= skipped;
        data += skipped;
        size = std::min<std::uint64_t>(size - skipped, wanted_);
        wanted_ -= size;
        if (abandoned_ || !append(data, size)) {
            return false;
        }
        kept_ += size;
    }
    wake();
    return true;
}

void Spill::finish(std::optional<std::string> failure) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        finished_ = true;
        failure_ = std::move(failure);
    }
    wake();
}

void Spill::abandon() {
    Source::Ready ready;  // Holds the connection.
    const std::lock_guard<std::mutex> lock(mutex_);
    abandoned_ = true;
    ready.swap(ready_);
}

std::optional<std::string> Spill::failure() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return failure_;
}

std::uint64_t Spill::kept() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return kept_;
}

std::uint64_t Spill::total() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return total_;
}

bool Spill::append(const char* data, std::size_t size) {
    if (fileWritten_ == fileRead_) {
        while (size > 0 && bytes_ < inMemory) {
            if (blocks_.empty() || blocks_.back().size() >= spillBlock) {
                blocks_.emplace_back();
            }
            const std::size_t part = std::min(size, spillBlock - blocks_.back().size());
            blocks_.back().append(data, part);
            bytes_ += part;
            data += part;
            size -= part;
        }
    }
    if (size > 0 && file_ < 0) {
        file_ = ::open(std::filesystem::temp_directory_path().c_str(),
                       O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
    }
    while (size > 0) {
        const ssize_t written = ::pwrite(file_, data, size, static_cast<off_t>(fileWritten_));
        if (written <= 0) {
            return false;
        }
        fileWritten_ += static_cast<std::uint64_t>(written);
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return true;
}

bool Spill::takeBlock(std::optional<std::string_view>& block) {
    if (!blocks_.empty()) {
        current_ = std::move(blocks_.front());
        blocks_.pop_front();
        bytes_ -= current_.size();
    } else if (fileRead_ < fileWritten_) {
        current_.resize(std::min<std::uint64_t>(spillBlock, fileWritten_ - fileRead_));
        const ssize_t got =
            ::pread(file_, current_.data(), current_.size(), static_cast<off_t>(fileRead_));
        current_.resize(got > 0 ? static_cast<std::size_t>(got) : 0);
        fileRead_ += current_.size();
        if (current_.empty()) {
            failure_ = "13";
        } else if (fileRead_ == fileWritten_) {
            fileRead_ = fileWritten_ = 0;
            if (::ftruncate(file_, 0) != 0) {
                failure_ = "13";
            }
        }
    } else if (finished_ && !failure_) {
        current_.clear();
    } else if (!finished_) {
        return false;
    }
    block = failure_ && blocks_.empty() && current_.empty()
                ? std::nullopt
                : std::optional<std::string_view>(current_);
    return true;
}

void Spill::next(Source::Ready ready) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        current_.clear();
        ready_ = std::move(ready);
    }
    wake();
}

void Spill::wake() {
    std::function<void()> begun;
    Source::Ready ready;
    std::optional<std::string_view> block;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (begun_ && (finished_ || (kept_ > 0 && !awaitsEnd_))) {
            begun.swap(begun_);
        }
        if (ready_ && takeBlock(block)) {
            ready.swap(ready_);
        }
    }
    if (begun) {
        begun();
    }
    if (ready) {
        ready(block);
    }
}

}  // namespace storage::kvxserver
