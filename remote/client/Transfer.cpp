#include "client/Transfer.h"

#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "client/StreamSink.h"
#include "protocol/Headers.h"

namespace storage::kvxremote {

namespace {

constexpr long bufferSize = 64L << 10U;
/// Bodies up to this size leave together with the request's head.
constexpr std::size_t smallBody = 64UL << 10U;
/// Larger bodies wait for the server's word.
constexpr std::size_t expectedBody = 1UL << 20U;
/// What is set aside for an answer before it comes; larger ones grow.
constexpr std::size_t mostReserved = 64UL << 20U;
constexpr long connectSeconds = 10;
constexpr long keepAliveSeconds = 30;

std::string_view trimHeader(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

template <class Number>
Number numberAtFront(std::string_view text) {
    Number number{};
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

}  // namespace

template <class Value>
void Transfer::set(CURLoption option, Value value) {
    if (curl_easy_setopt(easy_.get(), option, value) != CURLE_OK) {
        throw std::bad_alloc();  // Of the options that are used, only texts can fail.
    }
}

Transfer::Transfer(CURLM* multi, CURLSH* share, const Settings& settings)
    : multi_(multi), timeout_(settings.options.timeout), easy_(curl_easy_init()) {
    if (!easy_) {
        throw std::bad_alloc();
    }
    set(CURLOPT_SHARE, share);
    set(CURLOPT_PRIVATE, this);
    set(CURLOPT_ERRORBUFFER, message_);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_QUICK_EXIT, 1L);  // The thread must not wait for a slow name server.
    set(CURLOPT_PROTOCOLS_STR, settings.encrypted ? "https" : "http");
    set(CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    set(CURLOPT_PATH_AS_IS, 1L);
    set(CURLOPT_CONNECTTIMEOUT, connectSeconds);
    set(CURLOPT_BUFFERSIZE, bufferSize);
    set(CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L);
    set(CURLOPT_TCP_KEEPALIVE, 1L);
    set(CURLOPT_TCP_KEEPIDLE, keepAliveSeconds);
    set(CURLOPT_TCP_KEEPINTVL, keepAliveSeconds);
    if (settings.direct) {
        set(CURLOPT_PROXY, "");
    }
    if (!settings.socketPath.empty()) {
        set(CURLOPT_UNIX_SOCKET_PATH, settings.socketPath.c_str());
    }
    setSecurity(settings);
    set(CURLOPT_PREREQFUNCTION, &onRequest);
    set(CURLOPT_PREREQDATA, this);
    set(CURLOPT_READFUNCTION, &onRead);
    set(CURLOPT_READDATA, this);
    set(CURLOPT_SEEKFUNCTION, &onSeek);
    set(CURLOPT_SEEKDATA, this);
    set(CURLOPT_HEADERFUNCTION, &onHeader);
    set(CURLOPT_HEADERDATA, this);
    set(CURLOPT_WRITEFUNCTION, &onWrite);
    set(CURLOPT_WRITEDATA, this);
    set(CURLOPT_SOCKOPTFUNCTION, &onSocket);
    set(CURLOPT_SOCKOPTDATA, this);
}

Transfer::~Transfer() {
    if (exchange_ != nullptr) {
        curl_multi_remove_handle(multi_, easy_.get());
    }
}

void Transfer::setSecurity(const Settings& settings) {
    set(CURLOPT_SSL_VERIFYPEER, 1L);
    set(CURLOPT_SSL_VERIFYHOST, 2L);
    set(CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1_2));
    if (!settings.options.caFile.empty()) {
        set(CURLOPT_CAINFO, settings.options.caFile.c_str());
        set(CURLOPT_CAPATH, static_cast<const char*>(nullptr));  // No other authorities.
    }
    if (!settings.options.certificateFile.empty()) {
        set(CURLOPT_SSLCERT, settings.options.certificateFile.c_str());
    }
    if (!settings.options.keyFile.empty()) {
        set(CURLOPT_SSLKEY, settings.options.keyFile.c_str());
    }
}

void Transfer::start(Exchange& exchange, const std::string& server) {
    exchange.clearAnswer();
    message_[0] = '\0';
    position_ = 0;
    paused_ = hasHead_ = hasBody_ = false;
    uploaded_ = 0;
    queued_ = 0;
    lastMove_ = Clock::now();
    exchange_ = &exchange;
    set(CURLOPT_URL, (server + exchange.request.target).c_str());
    set(CURLOPT_FRESH_CONNECT, exchange.fresh ? 1L : 0L);
    setBody(exchange.request);
    setHeaders(exchange.request);
    set(CURLOPT_CUSTOMREQUEST, exchange.request.method.c_str());
    curl_multi_add_handle(multi_, easy_.get());
}

void Transfer::setBody(const WireRequest& request) {
    const std::size_t size = request.body.size() + request.content.size();
    set(CURLOPT_HTTPGET, 1L);
    if (size == 0 && request.method != "PUT" && request.method != "POST") {
        return;
    }
    if (size > smallBody || (!request.body.empty() && !request.content.empty())) {
        set(CURLOPT_UPLOAD, 1L);
        set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(size));
        return;
    }
    const std::string_view whole =
        request.content.empty() ? std::string_view(request.body) : request.content;
    set(CURLOPT_POST, 1L);
    set(CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(size));
    set(CURLOPT_POSTFIELDS, whole.empty() ? "" : whole.data());
}

void Transfer::setHeaders(const WireRequest& request) {
    headers_.reset();
    for (const auto& [name, value] : request.headers) {
        addHeader(name, value);
    }
    for (const auto& [name, value] : exchange_->extraHeaders) {
        addHeader(name, value);
    }
    // Without a value libcurl leaves out what it adds by itself.
    if (headerValue(request.headers, "Content-Type").empty()) {
        addHeader("Content-Type", {});
    }
    const bool expects =
        exchange_->expects && request.body.size() + request.content.size() > expectedBody;
    addHeader("Expect", expects ? "100-continue" : "");
    set(CURLOPT_HTTPHEADER, headers_.get());
}

void Transfer::addHeader(std::string_view name, std::string_view value) {
    std::string line(name);
    line += value.empty() ? ":" : ": ";
    line += value;
    curl_slist* const list = curl_slist_append(headers_.get(), line.c_str());
    if (list == nullptr) {
        throw std::bad_alloc();
    }
    (void)headers_.release();
    headers_.reset(list);
}

void Transfer::stop(CURLcode result) {
    long connects = 0;
    long systemError = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_NUM_CONNECTS, &connects);
    curl_easy_getinfo(easy_.get(), CURLINFO_OS_ERRNO, &systemError);
    curl_multi_remove_handle(multi_, easy_.get());
    // libcurl takes a connection that ends inside the head for the head's end.
    exchange_->result = result == CURLE_OK && !hasHead_ ? CURLE_PARTIAL_FILE : result;
    exchange_->message = message_;
    exchange_->systemError = static_cast<int>(systemError);
    exchange_->reused = exchange_->sent && connects == 0;
    exchange_ = nullptr;
}

void Transfer::resume() {
    if (paused_ && exchange_->sink->hasRoom()) {
        paused_ = false;
        lastMove_ = Clock::now();
        curl_easy_pause(easy_.get(), CURLPAUSE_CONT);
    }
}

bool Transfer::isStalled(std::chrono::seconds patience) {
    const auto now = Clock::now();
    curl_off_t uploaded = 0;
    curl_socket_t socket = CURL_SOCKET_BAD;
    int queued = 0;
    curl_easy_getinfo(easy_.get(), CURLINFO_SIZE_UPLOAD_T, &uploaded);
    curl_easy_getinfo(easy_.get(), CURLINFO_ACTIVESOCKET, &socket);
    if (socket != CURL_SOCKET_BAD) {
        // On a slow road the system holds megabytes that have left the program.
        (void)ioctl(socket, SIOCOUTQ, &queued);
    }
    if (paused_ || uploaded != uploaded_ || queued != queued_) {
        lastMove_ = now;
    }
    uploaded_ = uploaded;
    queued_ = queued;
    return now - lastMove_ > patience;
}

/// libcurl sends a request again by itself when a kept connection turns out closed; only the one
/// who knows the call may do so.
int Transfer::onRequest(void* self, char*, char*, int, int) {
    Transfer& transfer = *static_cast<Transfer*>(self);
    Exchange& exchange = *transfer.exchange_;
    exchange.resent = exchange.sent;
    exchange.sent = true;
    transfer.lastMove_ = Clock::now();
    return exchange.resent ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}

std::size_t Transfer::onRead(char* buffer, std::size_t size, std::size_t count, void* self) {
    return static_cast<Transfer*>(self)->read(buffer, size * count);
}

std::size_t Transfer::read(char* buffer, std::size_t size) {
    lastMove_ = Clock::now();
    const WireRequest& request = exchange_->request;
    const std::size_t prefix = request.body.size();
    const bool inPrefix = position_ < prefix;
    const std::string_view rest = inPrefix ? std::string_view(request.body).substr(position_)
                                           : request.content.substr(position_ - prefix);
    const std::size_t part = std::min(size, rest.size());
    if (part > 0) {
        std::memcpy(buffer, rest.data(), part);
    }
    position_ += part;
    return part;
}

int Transfer::onSeek(void* self, curl_off_t offset, int origin) {
    if (origin != SEEK_SET || offset < 0) {
        return CURL_SEEKFUNC_FAIL;
    }
    static_cast<Transfer*>(self)->position_ = static_cast<std::size_t>(offset);
    return CURL_SEEKFUNC_OK;
}

std::size_t Transfer::onHeader(char* line, std::size_t size, std::size_t count, void* self) {
    const std::size_t length = size * count;
    return static_cast<Transfer*>(self)->takeHeader({line, length}) ? length : 0;
}

bool Transfer::takeHeader(std::string_view line) {
    lastMove_ = Clock::now();
    Exchange& exchange = *exchange_;
    if (line.substr(0, 5) == "HTTP/") {  // Also after an interim answer.
        hasHead_ = false;
        exchange.headers.clear();
        exchange.status =
            numberAtFront<unsigned>(line.substr(std::min(line.find(' '), line.size() - 1) + 1));
        return true;
    }
    hasHead_ = hasHead_ || trimHeader(line).empty();
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos) {
        return true;
    }
    exchange.headers.emplace_back(trimHeader(line.substr(0, colon)),
                                  trimHeader(line.substr(colon + 1)));
    return true;
}

std::size_t Transfer::onWrite(char* bytes, std::size_t size, std::size_t count, void* self) {
    return static_cast<Transfer*>(self)->write({bytes, size * count});
}

/// Fits the answer to a download to what earlier ones brought.
bool Transfer::beginBody() {
    const std::uint64_t taken = exchange_->sink->taken();
    if (exchange_->status != 206) {
        exchange_->sink->skip(taken);
        return true;
    }
    const std::string begin = "bytes " + std::to_string(taken) + "-";
    return headerValue(exchange_->headers, "Content-Range").substr(0, begin.size()) == begin;
}

std::size_t Transfer::write(std::string_view bytes) {
    lastMove_ = Clock::now();
    Exchange& exchange = *exchange_;
    const bool failed =
        exchange.status >= 300 || !headerValue(exchange.headers, headers::error).empty();
    if (exchange.sink != nullptr && !failed) {
        if (!exchange.sink->failure().empty() || (!std::exchange(hasBody_, true) && !beginBody())) {
            return CURL_WRITEFUNC_ERROR;
        }
        paused_ = !exchange.sink->take(bytes);
        return paused_ ? CURL_WRITEFUNC_PAUSE : bytes.size();
    }
    if (exchange.body.empty()) {
        const auto size =
            numberAtFront<std::uint64_t>(headerValue(exchange.headers, "Content-Length"));
        // The parser of JSON wants some room behind the text.
        exchange.body.reserve(std::min<std::uint64_t>(size, mostReserved) + 64);
    }
    exchange.body += bytes;
    return bytes.size();
}

int Transfer::onSocket(void* self, curl_socket_t socket, curlsocktype) {
    const auto timeout = static_cast<unsigned>(static_cast<Transfer*>(self)->timeout_.count());
    // Fails without harm on a socket in the file system.
    (void)setsockopt(socket, IPPROTO_TCP, TCP_USER_TIMEOUT, &timeout, sizeof timeout);
    return CURL_SOCKOPT_OK;
}

}  // namespace storage::kvxremote
