#pragma once

#include <curl/curl.h>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "client/Exchange.h"
#include "client/Settings.h"

namespace storage::kvxremote {

/// One of libcurl's easy handles, used again for one exchange after the other on the network
/// thread.
class Transfer {
public:
    using Clock = std::chrono::steady_clock;

    Transfer(CURLM* multi, CURLSH* share, const Settings& settings);
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    /// Begins an attempt. The exchange must outlive it.
    void start(Exchange& exchange, const std::string& server);
    /// Ends the attempt. From now on nothing reads the request.
    void stop(CURLcode result);
    /// Goes on when the sink has room again.
    void resume();
    /// Whether nothing came or went for so long. To be asked every second or so.
    bool isStalled(std::chrono::seconds patience);

    CURL* handle() const { return easy_.get(); }
    Exchange& exchange() const { return *exchange_; }

private:
    struct EasyCleanup {
        void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
    };
    struct ListCleanup {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    template <class Value>
    void set(CURLoption option, Value value);
    void setSecurity(const Settings& settings);
    void setBody(const WireRequest& request);
    void setHeaders(const WireRequest& request);
    void addHeader(std::string_view name, std::string_view value);

    static int onRequest(void* self, char*, char*, int, int);
    static std::size_t onRead(char* buffer, std::size_t size, std::size_t count, void* self);
    static int onSeek(void* self, curl_off_t offset, int origin);
    static std::size_t onHeader(char* line, std::size_t size, std::size_t count, void* self);
    static std::size_t onWrite(char* bytes, std::size_t size, std::size_t count, void* self);
    static int onSocket(void* self, curl_socket_t socket, curlsocktype purpose);

    std::size_t read(char* buffer, std::size_t size);
    bool takeHeader(std::string_view line);
    bool beginBody();
    std::size_t write(std::string_view bytes);

    CURLM* const multi_;
    const std::chrono::milliseconds timeout_;
    std::unique_ptr<CURL, EasyCleanup> easy_;
    std::unique_ptr<curl_slist, ListCleanup> headers_;
    char message_[CURL_ERROR_SIZE] = "";
    Exchange* exchange_ = nullptr;
    /// How much of the request's body was read.
    std::size_t position_ = 0;
    bool paused_ = false;
    /// Whether the answer's head is complete, and whether its body has begun.
    bool hasHead_ = false;
    bool hasBody_ = false;
    /// What had left the program and this machine when isStalled() was last asked.
    curl_off_t uploaded_ = 0;
    int queued_ = 0;
    Clock::time_point lastMove_;
};

}  // namespace storage::kvxremote
