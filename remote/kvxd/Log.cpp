#include "Log.h"

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <string_view>

namespace storage::kvxd {

namespace {

/// The text as JSON. Bytes that are not plain ASCII are escaped one by one: a caller chooses them.
std::string quoted(std::string_view text) {
    static constexpr std::string_view hex = "0123456789abcdef";
    std::string json = "\"";
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < 0x20 || byte >= 0x7f || byte == '"' || byte == '\\') {
            json.append("\\u00").append(1, hex[byte >> 4U]).append(1, hex[byte & 15U]);
        } else {
            json += character;
        }
    }
    return json + "\"";
}

void addText(std::string& line, const char* name, std::string_view text) {
    if (!text.empty()) {
        line.append(",\"").append(name).append("\":").append(quoted(text));
    }
}

template <class Number>
void addNumber(std::string& line, const char* name, Number number) {
    line.append(",\"").append(name).append("\":").append(std::to_string(number));
}

/// What nobody but those who run the server can mend.
bool isFault(const kvxserver::CallRecord& call) { return call.status == 500 || call.status == 502; }

}  // namespace

Log::Log(const std::string& level) : logger_(spdlog::stderr_logger_mt("kvxd")) {
    logger_->set_pattern(R"({"time":"%Y-%m-%dT%H:%M:%S.%eZ","level":"%l"%v})",
                         spdlog::pattern_time_type::utc);
    logger_->set_level(spdlog::level::from_str(level));
}

void Log::tell(const kvxserver::CallRecord& call) {
    const auto level = isFault(call) ? spdlog::level::warn : spdlog::level::info;
    if (!logger_->should_log(level)) {
        return;
    }
    std::string line;
    addText(line, "peer", call.peer);
    addText(line, "method", call.operation);
    addText(line, "session", call.session);
    addText(line, "application", call.application.substr(0, 100));
    addText(line, "call", call.call.substr(0, 32));
    if (logger_->should_log(spdlog::level::debug)) {
        addText(line, "path", call.path);
    }
    if (call.code) {
        addNumber(line, "code", *call.code);
    }
    addNumber(line, "status", call.status);
    addNumber(line, "us", call.duration.count());
    addNumber(line, "in", call.bytesIn);
    addNumber(line, "out", call.bytesOut);
    if (call.repeated) {
        line += ",\"repeated\":true";
    }
    logger_->log(level, spdlog::string_view_t(line));
}

void Log::tell(const std::string& event, unsigned port, unsigned metricsPort) {
    std::string line;
    addText(line, "event", event);
    if (port != 0) {
        addNumber(line, "port", port);
    }
    if (metricsPort != 0) {
        addNumber(line, "metricsPort", metricsPort);
    }
    logger_->info(spdlog::string_view_t(line));
}

void Log::warn(const std::string& problem) {
    std::string line;
    addText(line, "event", problem);
    logger_->warn(spdlog::string_view_t(line));
}

}  // namespace storage::kvxd
