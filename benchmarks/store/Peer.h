#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace bench {

constexpr int mostCallers = 64;
constexpr std::size_t chunkSize = 256UL << 10U;
/// The file that ranges are read from, and the folder that is listed.
constexpr std::size_t bigFileSize = 64UL << 20U;
constexpr std::size_t listedEntries = 100'000;

/// What callers do over and over in one row. Those that read do so in files of the same size.
struct Load {
    enum Kind { PUT, GET, RANGE, LIST, MIXED, PING, UPLOAD, DOWNLOAD };
    Kind kind;
    std::size_t size;
    int callers = 8;  ///< One for LIST, UPLOAD and DOWNLOAD.
};

/// Something that keeps files.
class Peer {
public:
    virtual ~Peer() = default;
    /// Runs the load for about the time given and returns the nanoseconds of one operation: of one
    /// entry for LIST.
    virtual double run(const Load& load, double milliseconds) = 0;
};

/// A peer that this process calls. Its operations are called by several threads at once, but no
/// caller's number is used by two of them.
class LocalPeer : public Peer {
public:
    double run(const Load& load, double milliseconds) override;

    /// Makes the files that loads read. To be called once, before all.
    void prepare();

protected:
    /// Stores a new file, on the disk when this returns.
    virtual void put(const std::string& name, std::string_view content) = 0;
    /// Makes the folder that list() is to list, with so many empty files, as quickly as it can.
    virtual void fill(std::size_t entries) = 0;
    /// Reads a file into memory and returns its size.
    virtual std::size_t get(int caller, const std::string& name) = 0;
    /// Reads a range of the file `bigFile` into memory and returns its size.
    virtual std::size_t readRange(int caller, std::size_t offset, std::size_t size) = 0;
    /// Lists names, sizes and times into memory and returns their number.
    virtual std::size_t list() = 0;
    /// Asks for nothing.
    virtual void ping(int /*caller*/) {}
    /// Stores a file of so many bytes piece by piece, several at once.
    virtual void upload(std::size_t /*size*/) {}
    /// Reads the file that upload() has stored last in the same way, and returns its size.
    virtual std::size_t download() { return 0; }

    static constexpr const char* bigFile = "big";

private:
    void operate(const Load& load, int caller, std::size_t number);
};

}  // namespace bench
