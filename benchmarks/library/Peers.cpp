#include "library/Peers.h"

#include <curl/curl.h>
#include <glib.h>
#include <unicode/ustring.h>
#include <utf8.h>

#include <QUrl>
#include <cctype>
#include <iomanip>
#include <iterator>
#include <sstream>

namespace bench::peers {

std::string icuUtf8(std::u16string_view text) {
    std::string result(text.size() * 3, '\0');
    std::int32_t size = 0;
    UErrorCode status = U_ZERO_ERROR;
    u_strToUTF8(result.data(), static_cast<std::int32_t>(result.size()), &size, text.data(),
                static_cast<std::int32_t>(text.size()), &status);
    result.resize(static_cast<std::size_t>(size));
    return result;
}

std::string utfcppUtf8(std::u16string_view text) {
    std::string result;
    utf8::utf16to8(text.begin(), text.end(), std::back_inserter(result));
    return result;
}

std::string curlEscape(std::u16string_view text) {
    static CURL* const curl = curl_easy_init();
    const std::string utf8 = icuUtf8(text);
    char* const escaped = curl_easy_escape(curl, utf8.data(), static_cast<int>(utf8.size()));
    std::string result(escaped);
    curl_free(escaped);
    return result;
}

std::string glibEscape(std::u16string_view text) {
    const std::string utf8 = icuUtf8(text);
    char* const escaped = g_uri_escape_string(utf8.c_str(), "/", FALSE);
    std::string result(escaped);
    g_free(escaped);
    return result;
}

std::string qtEscape(std::u16string_view text) {
    const QString string(reinterpret_cast<const QChar*>(text.data()),
                         static_cast<int>(text.size()));
    return QUrl::toPercentEncoding(string, "/").toStdString();
}

std::string icuStreamEscape(std::u16string_view text) {
    std::ostringstream stream;
    stream << std::hex << std::uppercase << std::setfill('0');
    for (const char byte : icuUtf8(text)) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x80 && (std::isalnum(value) || byte == '.' || byte == '/')) {
            stream << byte;
        } else {
            stream << '%' << std::setw(2) << static_cast<int>(value);
        }
    }
    return std::move(stream).str();
}

}  // namespace bench::peers
