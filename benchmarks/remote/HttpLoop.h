#pragma once

#include <curl/curl.h>

#include <atomic>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace bench {

/// The least that an HTTP client can do: libcurl's multi interface on one thread, for callers who
/// wait. Throws when an answer is not a success.
class HttpLoop {
public:
    /// Paths follow the base, as "http://127.0.0.1:80"; the headers go with each request.
    HttpLoop(std::string base, const std::vector<std::string>& headers);
    ~HttpLoop();
    HttpLoop(const HttpLoop&) = delete;
    HttpLoop& operator=(const HttpLoop&) = delete;

    /// Returns the size of what came. The range is as "0-99", or empty for all.
    std::size_t get(const std::string& path, const std::string& range = {});
    void put(const std::string& path, std::string_view content);

private:
    struct Request;

    std::size_t run(Request& request);
    void loop();

    std::string base_;
    curl_slist* headers_ = nullptr;
    CURLM* multi_;
    std::mutex mutex_;
    std::vector<Request*> waiting_;
    std::vector<CURL*> idle_;
    std::atomic<bool> stops_{false};
    std::thread thread_;
};

}  // namespace bench
