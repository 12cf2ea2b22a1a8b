#include <openssl/ssl.h>
#include <sys/resource.h>

#include <cstdlib>
#include <thread>

#include "Certificates.h"
#include "RawConnection.h"
#include "RemoteFixture.h"

// What a server takes for large contents and many connections. Full sizes with KVXSTORE_SOAK.

namespace storage::kvxremote {
namespace {

const bool full = std::getenv("KVXSTORE_SOAK") != nullptr;
constexpr std::uint64_t mebibyte = 1UL << 20U;

/// Counts what is written to it.
class CountingBuffer : public std::streambuf {
public:
    std::atomic<std::uint64_t>& count;
    explicit CountingBuffer(std::atomic<std::uint64_t>& total) : count(total) {}

protected:
    std::streamsize xsputn(const char*, std::streamsize size) override {
        count += static_cast<std::uint64_t>(size);
        return size;
    }
    int_type overflow(int_type byte) override {
        ++count;
        return traits_type::not_eof(byte);
    }
};

class CountingStream : public std::iostream {
public:
    explicit CountingStream(std::atomic<std::uint64_t>& total)
        : std::iostream(nullptr), buffer_(total) {
        rdbuf(&buffer_);
    }

private:
    CountingBuffer buffer_;
};

TEST(ServerMemoryTest, holdsLittleOfEightTransfersInEachDirection) {
    constexpr unsigned threads = 8;
    constexpr std::uint64_t block = 4 * mebibyte;
    const std::uint64_t size = (full ? 4'096 : 256) * mebibyte / threads;
    const TemporaryFolder folder;
    const Kvxd server(folder, {std::to_string(size)}, FAKE_SERVER);
    const RemoteUser user("kvx+plain://127.0.0.1:" + std::to_string(server.port()), "token");
    std::atomic<std::uint64_t> read{0};
    const auto upload = [&](unsigned number) {
        const Resource resource(u"/" + std::u16string(1, char16_t(u'a' + number)), u"");
        const std::string handle =
            user.files->createReadWriteFileHandle(FileHandleReadWriteCreateRequest(resource))
                .getFileHandleId();
        const std::vector<unsigned char> bytes(block);
        for (std::uint64_t at = 0; at < size; at += block) {
            FileContentWriteRequest write(resource);
            user.files->writeFileContent(
                write.withFileHandleId(handle).withStartLocation(at).withContent(bytes.data(),
                                                                                 bytes.size()));
        }
    };
    const auto ranges = [&](unsigned) {
        for (std::uint64_t at = 0; at < size; at += block) {
            FileContentReadRequest request(Resource(u"/f", u""));
            read +=
                user.files
                    ->readFileContent(
                        request.withFileHandleId("handle").withStartLocation(at).withLength(block))
                    .getContentLength();
        }
    };
    const auto download = [&](unsigned) {
        FileDownloadRequest request("location");
        request.withStreamFactory([&] { return std::make_unique<CountingStream>(read); });
        user.files->downloadFile(std::move(request));
    };
    const std::pair<const char*, std::function<void(unsigned)>> kinds[] = {
        {"up", upload}, {"ranges", ranges}, {"down", download}};
    for (const auto& [name, transfer] : kinds) {
        read = 0;
        std::vector<std::thread> running;
        for (unsigned i = 0; i < threads; ++i) {
            running.emplace_back(transfer, i);
        }
        for (std::thread& thread : running) {
            thread.join();
        }
        EXPECT_EQ(read, name == kinds[0].first ? 0 : threads * size);
        std::cout << "[ result   ] " << threads * size / mebibyte << " MiB " << name << ": peak "
                  << server.peakMemory() / mebibyte << " MiB\n";
        EXPECT_LE(server.peakMemory(), MEMORY_FACTOR * 128 * mebibyte) << name;
    }
}

/// An encrypted connection that has made one call.
class EncryptedConnection {
public:
    EncryptedConnection(std::uint16_t port, std::uint32_t host) : connection_(port, host) {
        static SSL_CTX* const context = SSL_CTX_new(TLS_client_method());
        tls_.reset(SSL_new(context));
        SSL_set_fd(tls_.get(), connection_.socket());
        const std::string text = request("GET /v1/ping");
        char answer[1'000];
        isGood_ = SSL_connect(tls_.get()) == 1 &&
                  SSL_write(tls_.get(), text.data(), static_cast<int>(text.size())) > 0 &&
                  SSL_read(tls_.get(), answer, sizeof answer) > 0;
    }

    bool isGood() const { return isGood_; }

private:
    RawConnection connection_;
    std::unique_ptr<SSL, void (*)(SSL*)> tls_{nullptr, SSL_free};
    bool isGood_ = false;
};

class IdleConnectionsTest : public ::testing::TestWithParam<bool> {};

TEST_P(IdleConnectionsTest, takeLittleMemory) {
    // More than the files that a process may have unless it asks.
    const unsigned count = full ? 10'000 : 1'100;
    rlimit files{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &files), 0);
    files.rlim_cur = std::max<rlim_t>(files.rlim_cur, std::min<rlim_t>(files.rlim_max, 12'000));
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &files), 0);
    if (files.rlim_cur < count + 100) {
        GTEST_SKIP() << "a process may have only " << files.rlim_cur << " files";
    }
    const TemporaryFolder folder;
    std::vector<std::string> options = {
        "--store", "sqlite::memory:",   "--listen",           "127.0.0.1:0", "--log",
        "warn",    "--max-connections", std::to_string(count)};
    if (GetParam()) {
        const CertificateFiles own = Authority(folder, "authority").issue("own", "IP:127.0.0.1");
        for (const std::string& option :
             {std::string("--tls-cert"), own.certificate, std::string("--tls-key"), own.key}) {
            options.push_back(option);
        }
    } else {
        options.emplace_back("--plain");
    }
    const Kvxd kvxd(folder, options);
    const std::uint64_t before = kvxd.peakMemory();
    std::vector<std::unique_ptr<RawConnection>> plain;
    std::vector<std::unique_ptr<EncryptedConnection>> encrypted;
    unsigned good = 0;
    for (unsigned i = 0; i < count && good == i; ++i) {
        const std::uint32_t host = 1 + i % 10;
        if (GetParam()) {
            encrypted.push_back(std::make_unique<EncryptedConnection>(kvxd.port(), host));
            good += encrypted.back()->isGood() ? 1 : 0;
        } else {
            plain.push_back(std::make_unique<RawConnection>(kvxd.port(), host));
            good += plain.back()->ask(request("GET /v1/ping")).status == 200 ? 1 : 0;
        }
    }
    EXPECT_EQ(good, count);
    EXPECT_EQ(RawConnection(kvxd.port(), 11).ask(request("GET /v1/ping")).status, 0);
    const std::uint64_t after = kvxd.peakMemory();
    std::cout << "[ result   ] " << count << " idle connections: " << before / mebibyte << " to "
              << after / mebibyte << " MiB, each " << (after - before) / count << " bytes\n";
    // What TLS is made with keeps room for a record in each direction, twice.
    EXPECT_LE((after - before) * 10'000 / count,
              MEMORY_FACTOR * (GetParam() ? 900 : 300) * mebibyte);
}

INSTANTIATE_TEST_SUITE_P(Server, IdleConnectionsTest, ::testing::Bool(),
                         [](const auto& test) { return test.param ? "encrypted" : "plain"; });

}  // namespace
}  // namespace storage::kvxremote
