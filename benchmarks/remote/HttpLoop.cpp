#include "remote/HttpLoop.h"

#include <algorithm>
#include <cstring>
#include <future>
#include <stdexcept>

namespace bench {

struct HttpLoop::Request {
    std::string url;
    std::string range;
    std::string_view content;
    bool isPut = false;
    std::string body;
    std::promise<void> done;

    static std::size_t write(char* bytes, std::size_t, std::size_t size, void* request) {
        static_cast<Request*>(request)->body.append(bytes, size);
        return size;
    }
    static std::size_t read(char* into, std::size_t, std::size_t most, void* request) {
        std::string_view& rest = static_cast<Request*>(request)->content;
        const std::size_t size = std::min(most, rest.size());
        std::memcpy(into, rest.data(), size);
        rest.remove_prefix(size);
        return size;
    }
};

HttpLoop::HttpLoop(std::string base, const std::vector<std::string>& headers)
    : base_(std::move(base)), multi_(curl_multi_init()) {
    for (const std::string& header : headers) {
        headers_ = curl_slist_append(headers_, header.c_str());
    }
    headers_ = curl_slist_append(headers_, "Expect:");
    thread_ = std::thread([this] { loop(); });
}

HttpLoop::~HttpLoop() {
    stops_ = true;
    curl_multi_wakeup(multi_);
    thread_.join();
    for (CURL* easy : idle_) {
        curl_easy_cleanup(easy);
    }
    curl_multi_cleanup(multi_);
    curl_slist_free_all(headers_);
}

std::size_t HttpLoop::get(const std::string& path, const std::string& range) {
    Request request;
    request.url = base_ + path;
    request.range = range;
    return run(request);
}

void HttpLoop::put(const std::string& path, std::string_view content) {
    Request request;
    request.url = base_ + path;
    request.content = content;
    request.isPut = true;
    run(request);
}

std::size_t HttpLoop::run(Request& request) {
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(&request);
    }
    curl_multi_wakeup(multi_);
    request.done.get_future().get();
    return request.body.size();
}

void HttpLoop::loop() {
    std::vector<Request*> starting;
    while (!stops_) {
        {
            const std::lock_guard lock(mutex_);
            starting.swap(waiting_);
        }
        for (Request* request : starting) {
            CURL* easy = idle_.empty() ? curl_easy_init() : idle_.back();
            if (!idle_.empty()) {
                idle_.pop_back();
            }
            curl_easy_reset(easy);
            curl_easy_setopt(easy, CURLOPT_URL, request->url.c_str());
            curl_easy_setopt(easy, CURLOPT_HTTPHEADER, headers_);
            curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Request::write);
            curl_easy_setopt(easy, CURLOPT_WRITEDATA, request);
            curl_easy_setopt(easy, CURLOPT_FAILONERROR, 1L);
            curl_easy_setopt(easy, CURLOPT_PRIVATE, request);
            if (!request->range.empty()) {
                curl_easy_setopt(easy, CURLOPT_RANGE, request->range.c_str());
            }
            if (request->isPut) {
                curl_easy_setopt(easy, CURLOPT_UPLOAD, 1L);
                curl_easy_setopt(easy, CURLOPT_READFUNCTION, &Request::read);
                curl_easy_setopt(easy, CURLOPT_READDATA, request);
                curl_easy_setopt(easy, CURLOPT_INFILESIZE_LARGE,
                                 static_cast<curl_off_t>(request->content.size()));
            }
            curl_multi_add_handle(multi_, easy);
        }
        starting.clear();
        int running = 0;
        curl_multi_perform(multi_, &running);
        int left = 0;
        while (const CURLMsg* message = curl_multi_info_read(multi_, &left)) {
            CURL* easy = message->easy_handle;
            const CURLcode code = message->data.result;
            char* owner = nullptr;
            curl_easy_getinfo(easy, CURLINFO_PRIVATE, &owner);
            curl_multi_remove_handle(multi_, easy);
            idle_.push_back(easy);
            auto& request = *reinterpret_cast<Request*>(owner);
            if (code == CURLE_OK) {
                request.done.set_value();
            } else {
                request.done.set_exception(std::make_exception_ptr(
                    std::runtime_error(request.url + ": " + curl_easy_strerror(code))));
            }
        }
        curl_multi_poll(multi_, nullptr, 0, 1000, nullptr);
    }
}

}  // namespace bench
