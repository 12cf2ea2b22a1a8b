#include "Network.h"

#include <sys/stat.h>
#include <sys/un.h>

#include <array>
#include <atomic>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/ssl.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core.hpp>
#include <boost/beast/http.hpp>
#include <condition_variable>
#include <cstdio>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

#include "Address.h"
#include "Certificate.h"
#include "Connections.h"

// Everything of Beast is in this unit, which takes long to compile.

namespace storage::kvxserver {

namespace {

namespace net = boost::asio;
namespace beast = boost::beast;
namespace http = boost::beast::http;
using Tcp = net::ip::tcp;
using Local = net::local::stream_protocol;
using Strand = net::strand<net::io_context::executor_type>;
using TcpStream = beast::basic_stream<Tcp, Strand>;
using LocalStream = beast::basic_stream<Local, Strand>;
using TlsStream = net::ssl::stream<TcpStream>;
using beast::error_code;
using kvxremote::Header;

constexpr std::size_t blockSize = 256UL << 10U;
constexpr std::size_t smallBlock = 16UL << 10U;
constexpr std::size_t idleBuffer = 2048;
/// Bytes a second of a body.
constexpr std::size_t leastRate = 16UL << 10U;

bool& onThread() {
    thread_local bool isOn = false;
    return isOn;
}

const char* reasonOf(unsigned status) {
    const auto reason = http::obsolete_reason(static_cast<http::status>(status));
    return reason.empty() ? "Unknown" : reason.data();
}

/// Whether what came is no HTTP.
bool isMalformed(error_code error) {
    return error && error.category() == make_error_code(http::error::bad_method).category() &&
           error != http::error::end_of_stream && error != http::error::partial_message;
}

/// The life of one connection: handshake, then head, body and answer of each request in turn. All
/// of it runs on the stream's strand. A request is read only after the last answer is written.
template <class Stream>
class Connection final : public Channel,
                         public Closable,
                         public std::enable_shared_from_this<Connection<Stream>> {
public:
    template <class... StreamArguments>
    Connection(std::unique_ptr<Place> place, std::shared_ptr<Service> service,
               std::shared_ptr<net::ssl::context> tls, StreamArguments&&... arguments)
        : place_(std::move(place)),
          service_(std::move(service)),
          tls_(std::move(tls)),
          stream_(std::forward<StreamArguments>(arguments)...),
          strand_(beast::get_lowest_layer(stream_).get_executor()) {
        place_->connection = this;
    }

    void start() {
        place_->connections->keep(this->shared_from_this());
        net::dispatch(strand_, [self = this->shared_from_this()] { self->handshake(); });
    }

    const std::string& peer() const override { return place_->address; }

    void read(char* into, std::size_t size, std::function<void(bool)> done) override {
        net::dispatch(strand_, [self = this->shared_from_this(), into, size,
                                done = std::move(done)]() mutable {
            self->readDone_ = std::move(done);
            self->readUntil_ = std::chrono::steady_clock::now() + self->options().progressTime +
                               std::chrono::seconds(size / leastRate);
            self->readMore(into, size);
        });
    }

    void answer(Answer answer, std::function<void(std::uint64_t, bool)> written) override {
        net::dispatch(strand_, [self = this->shared_from_this(),
                                answer = std::make_shared<Answer>(std::move(answer)),
                                written = std::move(written)]() mutable {
            self->answer_ = std::move(*answer);
            self->written_ = std::move(written);
            self->sent_ = 0;
            self->writeHead();
        });
    }

    void cut() override {
        net::dispatch(strand_, [self = this->shared_from_this()] { self->close(); });
    }

    void closeIfIdle() override {
        net::dispatch(strand_, [self = this->shared_from_this()] {
            if (self->idle_) {
                self->close();
            }
        });
    }

private:
    using Self = std::shared_ptr<Connection>;

    auto& lowest() { return beast::get_lowest_layer(stream_); }
    const ServerOptions& options() const { return place_->connections->options(); }

    void handshake() {
        if constexpr (std::is_same_v<Stream, TlsStream>) {
            lowest().expires_after(options().headTime);
            stream_.async_handshake(net::ssl::stream_base::server,
                                    [self = this->shared_from_this()](error_code error) {
                                        error ? self->closeFor(error) : self->awaitRequest();
                                    });
        } else {
            awaitRequest();
        }
    }

    void awaitRequest() {
        if (closed_ || place_->connections->draining()) {
            return close();
        }
        if (buffer_.size() > 0) {
            return readHead();
        }
        if (buffer_.capacity() > 8 * idleBuffer) {
            buffer_.shrink_to_fit();
        }
        idle_ = true;
        lowest().expires_after(options().idleTime);
        stream_.async_read_some(buffer_.prepare(idleBuffer),
                                [self = this->shared_from_this()](error_code error, std::size_t n) {
                                    self->idle_ = false;
                                    if (error) {
                                        return self->closeFor(error);
                                    }
                                    self->buffer_.commit(n);
                                    self->readHead();
                                });
    }

    void readHead() {
        parser_.emplace();
        parser_->header_limit(
            static_cast<std::uint32_t>(std::min<std::size_t>(options().headerSize, UINT32_MAX)));
        // The parser reads no body; "none" would compare as less than any length.
        parser_->body_limit(UINT64_MAX);
        lowest().expires_after(options().headTime);
        http::async_read_header(stream_, buffer_, *parser_,
                                [self = this->shared_from_this()](error_code error, std::size_t) {
                                    if (error == http::error::header_limit) {
                                        self->refuse(431);
                                    } else if (isMalformed(error)) {
                                        self->refuse(400);
                                    } else if (error) {
                                        self->closeFor(error);
                                    } else {
                                        self->takeHead();
                                    }
                                });
    }

    /// Answers what is no request, and closes.
    void refuse(unsigned status) {
        place_->connections->headRefused();
        unread_ = 1;
        keepAlive_ = false;
        isHead_ = false;
        Answer answer;
        answer.status = status;
        answer_ = std::move(answer);
        written_ = nullptr;
        writeHead();
    }

    void takeHead() {
        auto& message = parser_->get();
        Head head;
        head.method = std::string(message.method_string());
        head.target = std::string(message.target());
        for (const auto& field : message) {
            head.headers.emplace_back(std::string(field.name_string()), std::string(field.value()));
        }
        if (parser_->content_length()) {
            head.length = *parser_->content_length();
        }
        head.chunked = parser_->chunked();
        // What follows a chunked body is never taken for a request.
        keepAlive_ = message.keep_alive() && !head.chunked;
        isHead_ = message.method() == http::verb::head;
        isOldVersion_ = message.version() < 11;
        continues_ = beast::iequals(message[http::field::expect], "100-continue");
        unread_ = head.chunked ? 1 : head.length.value_or(0);
        parser_.reset();
        lowest().expires_never();
        service_->begin(this->shared_from_this(), std::move(head));
    }

    void readMore(char* into, std::size_t size) {
        const std::size_t had = std::min(size, buffer_.size());
        net::buffer_copy(net::buffer(into, had), buffer_.data());
        buffer_.consume(had);
        unread_ -= had;
        into += had;
        size -= had;
        if (size == 0 || closed_) {
            return finishRead(size == 0);
        }
        // Whoever sends a byte now and then must not keep the room for all of them.
        lowest().expires_at(
            std::min(readUntil_, std::chrono::steady_clock::now() + options().progressTime));
        if (std::exchange(continues_, false)) {
            static constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
            return net::async_write(
                stream_, net::buffer(text.data(), text.size()),
                [self = this->shared_from_this(), into, size](error_code error, std::size_t) {
                    error ? self->failRead(error) : self->readMore(into, size);
                });
        }
        stream_.async_read_some(
            net::buffer(into, std::min(size, blockSize)),
            [self = this->shared_from_this(), into, size](error_code error, std::size_t n) {
                self->unread_ -= n;
                error ? self->failRead(error) : self->readMore(into + n, size - n);
            });
    }

    void failRead(error_code error) {
        noteTime(error);
        finishRead(false);
    }

    void finishRead(bool complete) {
        if (!complete) {
            close();
        } else {
            lowest().expires_never();
        }
        // The function may hold the last of the call, and that of this connection.
        std::exchange(readDone_, nullptr)(complete);
    }

    void writeHead() {
        if (unread_ > 0) {  // A small body that has come already does no harm.
            const std::size_t had = std::min<std::size_t>(unread_, buffer_.size());
            buffer_.consume(had);
            unread_ -= had;
        }
        if (unread_ > 0 || place_->connections->draining()) {
            keepAlive_ = false;
        }
        out_ =
            "HTTP/1.1 " + std::to_string(answer_.status) + " " + reasonOf(answer_.status) + "\r\n";
        for (const auto& [name, value] : answer_.headers) {
            out_.append(name).append(": ").append(value).append("\r\n");
        }
        isChunked_ = answer_.source && !answer_.size;
        if (!answer_.source) {
            answer_.size = answer_.text.size();
        }
        if (isChunked_ && isOldVersion_) {
            keepAlive_ = false;
        } else if (isChunked_) {
            out_ += "Transfer-Encoding: chunked\r\n";
        } else {
            out_ += "Content-Length: " + std::to_string(*answer_.size) + "\r\n";
        }
        out_ += keepAlive_ ? "\r\n" : "Connection: close\r\n\r\n";
        if (isHead_) {
            answer_.source.reset();
            answer_.text.clear();
        }
        if (!answer_.source) {
            sent_ = answer_.text.size();
            return writeBlock(answer_.text, true);
        }
        nextBlock();
    }

    void nextBlock() {
        answer_.source->next(
            [self = this->shared_from_this()](std::optional<std::string_view> block) {
                net::dispatch(self->strand_, [self, block] { self->takeBlock(block); });
            });
    }

    void takeBlock(std::optional<std::string_view> block) {
        if (!block) {
            return failBody();
        }
        sent_ += block->size();
        const bool last = block->empty();
        if (!isChunked_ || isOldVersion_) {
            if (answer_.size && (sent_ > *answer_.size || (last && sent_ < *answer_.size))) {
                return finishAnswer(false);
            }
            return writeBlock(*block, last || (answer_.size && sent_ == *answer_.size));
        }
        std::array<char, 20> size{};
        std::snprintf(size.data(), size.size(), "%zx\r\n", block->size());
        out_ += size.data();
        tail_ = "\r\n";
        writeBlock(*block, last);
    }

    /// Tells in the trailer that the body is not complete, and closes.
    void failBody() {
        if (!isChunked_ || isOldVersion_) {
            return finishAnswer(false);
        }
        keepAlive_ = false;
        failed_ = true;
        out_ += "0\r\nKVX-Error: " + answer_.source->failure() + "\r\n\r\n";
        writeBlock({}, true);
    }

    /// Writes what has gathered in out_, then the block.
    void writeBlock(std::string_view block, bool last) {
        if (block.size() <= smallBlock) {  // One write; TLS takes one buffer at a time.
            out_.append(block).append(tail_);
            block = {};
            tail_.clear();
        }
        const std::array<net::const_buffer, 3> buffers = {
            net::buffer(out_), net::buffer(block.data(), block.size()), net::buffer(tail_)};
        net::async_write(
            stream_, buffers,
            [self = this->shared_from_this()](error_code error, std::size_t) -> std::size_t {
                self->lowest().expires_after(self->options().progressTime);
                return error ? 0 : blockSize;
            },
            [self = this->shared_from_this(), last](error_code error, std::size_t) {
                self->out_.clear();
                self->tail_.clear();
                self->noteTime(error);
                if (error || last) {
                    self->finishAnswer(!error && !std::exchange(self->failed_, false));
                } else {
                    self->nextBlock();
                }
            });
    }

    void finishAnswer(bool complete) {
        lowest().expires_never();
        answer_ = {};
        out_.clear();
        if (out_.capacity() > smallBlock) {
            out_.shrink_to_fit();
        }
        const auto written = std::exchange(written_, nullptr);
        const std::uint64_t sent = sent_;
        if (!complete) {
            keepAlive_ = false;
            close();
        } else if (keepAlive_) {
            awaitRequest();
        } else {
            linger();
        }
        if (written) {
            written(sent, complete);
        }
    }

    /// Waits a little for the other side to read the answer: closing with unread bytes would reset
    /// the connection under it.
    void linger() {
        error_code ignored;
        if (closed_) {
            return;
        }
        lowest().socket().shutdown(net::socket_base::shutdown_send, ignored);
        lowest().expires_after(std::chrono::seconds(2));
        buffer_.clear();
        discard();
    }

    void discard() {
        lowest().async_read_some(buffer_.prepare(smallBlock),
                                 [self = this->shared_from_this()](error_code error, std::size_t) {
                                     error ? self->close() : self->discard();
                                 });
    }

    void noteTime(error_code error) const {
        if (error == beast::error::timeout) {
            place_->connections->timedOut();
        }
    }

    void closeFor(error_code error) {
        noteTime(error);
        close();
    }

    void close() {
        closed_ = true;
        lowest().close();
    }

    std::unique_ptr<Place> place_;
    const std::shared_ptr<Service> service_;
    const std::shared_ptr<net::ssl::context> tls_;
    Stream stream_;
    const Strand strand_;
    beast::flat_buffer buffer_;
    std::optional<http::request_parser<http::empty_body>> parser_;
    std::function<void(bool)> readDone_;
    std::function<void(std::uint64_t, bool)> written_;
    Answer answer_;
    std::string out_;
    std::string tail_;
    std::chrono::steady_clock::time_point readUntil_;
    std::uint64_t unread_ = 0;
    std::uint64_t sent_ = 0;
    bool keepAlive_ = false;
    bool isHead_ = false;
    bool isOldVersion_ = false;
    bool isChunked_ = false;
    bool continues_ = false;
    bool failed_ = false;
    bool idle_ = false;
    bool closed_ = false;
};

}  // namespace

class Network::Impl {
public:
    explicit Impl(const ServerOptions& options)
        : options_(options),
          connections_(std::make_shared<Connections>(options)),
          metricsConnections_(std::make_shared<Connections>(metricsLimits(options))) {
        if (!options.plain && !options.certificateFile.empty()) {
            certificate_ = std::make_unique<Certificate>(options);
            watchCertificate();
        }
    }

    ~Impl() { stop(); }

    void stop() {
        context_.stop();
        for (std::thread& thread : threads_) {
            thread.join();
        }
        threads_.clear();
        for (const Listener& listener : listeners_) {
            listener.close();
        }
    }

    std::uint16_t listenTcp(const Address& address, std::shared_ptr<Service> service,
                            std::shared_ptr<Connections> connections, bool encrypted) {
        auto acceptor = std::make_shared<Tcp::acceptor>(Strand(context_.get_executor()));
        const Tcp::endpoint endpoint(net::ip::make_address(address.host), address.port);
        acceptor->open(endpoint.protocol());
        acceptor->set_option(net::socket_base::reuse_address(true));
        listenAt(*acceptor, endpoint, address.text);
        // Whoever watches the server is told that it ends until it has ended.
        add(acceptor, connections == connections_);
        accept(acceptor, std::move(service), std::move(connections), encrypted);
        return acceptor->local_endpoint().port();
    }

    void listenLocal(const Address& address, std::shared_ptr<Service> service) {
        if (address.path.size() >= sizeof(sockaddr_un::sun_path)) {
            throw std::invalid_argument("the path of the socket is too long: " + address.path);
        }
        removeDeadSocket(address.path);
        auto acceptor = std::make_shared<Local::acceptor>(Strand(context_.get_executor()));
        acceptor->open();
        listenAt(*acceptor, Local::endpoint(address.path), address.text);
        // Another server may take the path as soon as this one does not listen any more.
        add(acceptor, true, [path = address.path] { ::unlink(path.c_str()); });
        accept(acceptor, std::move(service), connections_, false);
    }

    void run() {
        for (unsigned i = threadsFor(options_); i > 0; --i) {
            threads_.emplace_back([this] {
                onThread() = true;
                context_.run();
            });
        }
    }

    void later(std::chrono::milliseconds delay, std::function<void()> function) {
        auto timer = std::make_shared<net::steady_timer>(context_, delay);
        timer->async_wait([timer, function = std::move(function)](error_code error) {
            if (!error) {
                function();
            }
        });
    }

    void drain() {
        for (const Listener& listener : listeners_) {
            if (listener.drains) {
                net::post(listener.strand, listener.close);
            }
        }
        connections_->drain();
    }

    const ServerOptions options_;
    const std::shared_ptr<Connections> connections_;
    const std::shared_ptr<Connections> metricsConnections_;
    std::unique_ptr<Certificate> certificate_;

private:
    struct Listener {
        net::any_io_executor strand;
        std::function<void()> close;
        /// Whether it closes when the server begins to end.
        bool drains;
    };

    static ServerOptions metricsLimits(ServerOptions options) {
        options.connections = 64;
        options.connectionsOfAddress = 64;
        return options;
    }

    template <class Acceptor>
    void add(
        const std::shared_ptr<Acceptor>& acceptor, bool drains,
        std::function<void()> beforeClosing = [] {}) {
        listeners_.push_back({acceptor->get_executor(),
                              [acceptor, beforeClosing = std::move(beforeClosing)] {
                                  if (acceptor->is_open()) {
                                      error_code ignored;
                                      beforeClosing();
                                      acceptor->close(ignored);
                                  }
                              },
                              drains});
    }

    template <class Acceptor, class Endpoint>
    void listenAt(Acceptor& acceptor, const Endpoint& endpoint, const std::string& text) {
        error_code error;
        acceptor.bind(endpoint, error);
        if (!error) {
            acceptor.listen(net::socket_base::max_listen_connections, error);
        }
        if (error) {
            throw std::runtime_error("cannot listen on " + text + ": " + error.message());
        }
    }

    /// A socket that nobody listens on was left behind by a server that was killed.
    void removeDeadSocket(const std::string& path) {
        struct stat status {};
        if (::lstat(path.c_str(), &status) != 0 || !S_ISSOCK(status.st_mode)) {
            return;
        }
        Local::socket socket(context_);
        error_code error;
        socket.connect(Local::endpoint(path), error);
        if (error == net::error::connection_refused) {
            ::unlink(path.c_str());
        }
    }

    template <class Acceptor>
    void accept(std::shared_ptr<Acceptor> acceptor, std::shared_ptr<Service> service,
                std::shared_ptr<Connections> connections, bool encrypted) {
        using Socket =
            typename Acceptor::protocol_type::socket::template rebind_executor<Strand>::other;
        acceptor->async_accept(
            Strand(context_.get_executor()),
            [this, acceptor, service, connections, encrypted](error_code error, Socket socket) {
                if (error == net::error::operation_aborted || !acceptor->is_open()) {
                    return;
                }
                if (error) {  // No more descriptors, most likely: some time will free them.
                    return later(std::chrono::milliseconds(100), [=, this] {
                        net::post(acceptor->get_executor(),
                                  [=, this] { accept(acceptor, service, connections, encrypted); });
                    });
                }
                begin(std::move(socket), service, connections, encrypted);
                accept(acceptor, service, connections, encrypted);
            });
    }

    template <class Socket>
    void begin(Socket socket, std::shared_ptr<Service> service,
               std::shared_ptr<Connections> connections, bool encrypted) {
        error_code error;
        std::string peer = "unix";
        if constexpr (std::is_same_v<typename Socket::protocol_type, Tcp>) {
            peer = socket.remote_endpoint(error).address().to_string();
            socket.set_option(Tcp::no_delay(true), error);
            socket.set_option(net::socket_base::keep_alive(true), error);
        }
        if (error || !connections->enter(peer)) {
            return;
        }
        auto place = std::make_unique<Place>();
        place->connections = connections;
        place->address = peer;
        if constexpr (std::is_same_v<typename Socket::protocol_type, Tcp>) {
            if (encrypted) {
                auto context = certificate_->context();
                return std::make_shared<Connection<TlsStream>>(std::move(place), service, context,
                                                               std::move(socket), *context)
                    ->start();
            }
            std::make_shared<Connection<TcpStream>>(std::move(place), service, nullptr,
                                                    std::move(socket))
                ->start();
        } else {
            std::make_shared<Connection<LocalStream>>(std::move(place), service, nullptr,
                                                      std::move(socket))
                ->start();
        }
    }

    void watchCertificate() {
        later(std::chrono::seconds(2), [this] {
            certificate_->reloadIfChanged();
            watchCertificate();
        });
    }

    net::io_context context_;
    net::executor_work_guard<net::io_context::executor_type> work_{context_.get_executor()};
    std::vector<Listener> listeners_;
    std::vector<std::thread> threads_;
};

Network::Network(const ServerOptions& options) : impl_(std::make_unique<Impl>(options)) {}

Network::~Network() = default;

std::uint16_t Network::listen(std::shared_ptr<Service> service) {
    const Address address = parseAddress(impl_->options_.listen);
    if (!address.path.empty()) {
        impl_->listenLocal(address, std::move(service));
        return 0;
    }
    return impl_->listenTcp(address, std::move(service), impl_->connections_,
                            impl_->certificate_ != nullptr);
}

std::uint16_t Network::listenForMetrics(std::shared_ptr<Service> service) {
    return impl_->listenTcp(parseAddress(impl_->options_.metrics), std::move(service),
                            impl_->metricsConnections_, false);
}

void Network::run() { impl_->run(); }

unsigned Network::threadsFor(const ServerOptions& options) {
    return options.threads > 0 ? options.threads
                               : std::max(1U, std::thread::hardware_concurrency());
}

bool Network::isOnThread() { return onThread(); }

void Network::later(std::chrono::milliseconds delay, std::function<void()> function) {
    impl_->later(delay, std::move(function));
}

void Network::reloadCertificate() {
    if (impl_->certificate_) {
        impl_->certificate_->reload();
    }
}

ConnectionCounts Network::counts() const { return impl_->connections_->counts(); }

void Network::drain() { impl_->drain(); }

void Network::stop() { impl_->stop(); }

bool Network::waitForConnections(std::chrono::milliseconds atMost) {
    return impl_->connections_->waitUntilEmpty(atMost);
}

}  // namespace storage::kvxserver
