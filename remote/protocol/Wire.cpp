#include "protocol/Wire.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "json/Read.h"
#include "json/Write.h"
#include "protocol/Bodies.h"
#include "protocol/Headers.h"
#include "protocol/Percent.h"
#include "protocol/Roads.h"
#include "protocol/Target.h"

namespace storage::kvxremote {
namespace {

using kvxclient::FileHandleCloseOperation;
using kvxfields::Kind;
using namespace std::string_view_literals;

constexpr std::string_view jsonType = "application/json";
constexpr std::string_view anyType = "application/octet-stream";
constexpr std::string_view closeWords[] = {"commit", "abort"};

std::string toParameter(bool value) { return value ? "true" : "false"; }
std::string toParameter(int value) { return std::to_string(value); }
std::string toParameter(unsigned long value) { return std::to_string(value); }
std::string toParameter(const std::string& value) { return percentEncode(value); }
std::string toParameter(FileHandleCloseOperation value) {
    const auto index = static_cast<std::uint32_t>(value);
    return index < std::size(closeWords) ? std::string(closeWords[index])
                                         : std::to_string(static_cast<std::int32_t>(value));
}

template <class Number>
void fromParameter(const std::string& text, Number& value) {
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, value);
    if (failure != std::errc() || stop != end) {
        throw WireError("a parameter is no number, or too large");
    }
}
void fromParameter(const std::string& text, std::string& value) { value = text; }
void fromParameter(const std::string& text, bool& value) {
    value = text == "true" || text == "1";
    if (!value && text != "false" && text != "0") {
        throw WireError("a parameter is neither true nor false");
    }
}
void fromParameter(const std::string& text, FileHandleCloseOperation& value) {
    for (const std::string_view& word : closeWords) {
        if (word == text) {
            value = static_cast<FileHandleCloseOperation>(&word - closeWords);
            return;
        }
    }
    std::int32_t number = 0;
    fromParameter(text, number);
    value = static_cast<FileHandleCloseOperation>(number);
}

// Whether a header carries the value unchanged.
bool fitsHeader(std::string_view value) {
    const auto isPrintable = [](char c) { return c >= 0x20 && c <= 0x7E; };
    return !value.empty() && value.size() <= 1024 && value.front() != ' ' && value.back() != ' ' &&
           std::all_of(value.begin(), value.end(), isPrintable);
}

void addHeader(std::vector<Header>& headers, std::string_view name, std::string_view value) {
    headers.emplace_back(name, value);
}

// Calls `visit(field, index)`, the index as a type, for each field.
template <class Record, class Visitor, std::size_t... index>
void forEachIndex(const Visitor& visit, std::index_sequence<index...>) {
    (visit(std::get<index>(kvxfields::Fields<Record>::list),
           std::integral_constant<std::size_t, index>()),
     ...);
}
template <class Record, class Visitor>
void forEachIndex(const Visitor& visit) {
    forEachIndex<Record>(visit, std::make_index_sequence<kvxfields::fieldCount<Record>>());
}

template <class Record>
std::string_view viewOfContent(const Record& record) {
    std::string_view view;
    kvxfields::forEachFieldOf<Record>([&](const auto& field) {
        using Field = std::decay_t<decltype(field)>;
        if constexpr (Field::kind == Kind::CONTENT) {
            if constexpr (std::is_reference_v<decltype(Field::bytes(record))>) {
                view = {Field::bytes(record).data(), Field::get(record)};
            } else {
                view = {reinterpret_cast<const char*>(Field::bytes(record)), Field::get(record)};
            }
        }
    });
    return view;
}

template <class Record>
void giveContent(Record& record, std::string_view bytes) {
    kvxfields::forEachFieldOf<Record>([&](const auto& field) {
        using Field = std::decay_t<decltype(field)>;
        if constexpr (Field::kind == Kind::CONTENT) {
            Field::setBytes(record, bytes);
        }
    });
}

// Writes a target, and a header for the content type.
class RoadWriter {
public:
    RoadWriter(const Road& road, WireRequest& request) : road_(road), request_(request) {
        request_.method = road.method;
        request_.target = targetPrefix;
        request_.target += road.room;
    }

    // Whether nothing of the record would be lost.
    template <class Record>
    bool write(const Record& record) {
        const Record usual = kvxfields::Builder<Record>().finish();
        kvxfields::forEachFieldOf<Record>([&](const auto& field) {
            using Field = std::decay_t<decltype(field)>;
            if constexpr (kvxfields::isWritten<Field>) {
                const auto value = field.get(record);
                if constexpr (Field::isArgument) {
                    place(value);
                } else if (field.name == "fileHandleId"sv) {
                    name(value);
                } else if (value != field.get(usual)) {
                    add(field.name, value);
                }
            }
        });
        survives_ = survives_ && named_ == (road_.place != Place::NONE);
        request_.target += query_;
        return survives_ && request_.target.size() <= longestTarget;
    }

private:
    void place(const kvxclient::Resource& resource) {
        if (road_.place == Place::RESOURCE) {
            named_ = true;
            survives_ = survives_ && appendResource(request_.target, resource);
            return;
        }
        addText("bucket", resource.getBucket(), resource.getUTF8Bucket());
        addText("path", resource.getPath(),
                kvxclient::Resource({}, resource.getPath()).getUTF8Bucket());
    }
    void place(const std::string& id) { name(id); }

    void name(const std::string& id) {
        named_ = true;
        survives_ = survives_ && appendName(request_.target, id);
    }
    template <class Value>
    void name(const Value&) {}

    void addText(std::string_view parameter, const std::u16string& text, const std::string& utf8) {
        survives_ = survives_ && survives(text);
        if (!text.empty()) {
            addParameter(parameter, percentEncode(utf8));
        }
    }

    template <class Value>
    void add(std::string_view field, const Value& value) {
        if constexpr (std::is_same_v<Value, std::string>) {
            survives_ = survives_ && survives(value);
            if (parameterOf(field) == contentTypeParameter && fitsHeader(value)) {
                addHeader(request_.headers, headers::contentType, value);
                return;
            }
        }
        if (!parameterOf(field).empty()) {
            addParameter(parameterOf(field), toParameter(value));
        }
    }

    void addParameter(std::string_view parameter, const std::string& encoded) {
        query_ += query_.empty() ? '?' : '&';
        query_ += parameter;
        query_ += '=';
        query_ += encoded;
    }

    const Road& road_;
    WireRequest& request_;
    std::string query_;
    bool named_ = false;
    bool survives_ = true;
};

// Reads "bytes=FIRST-" and "bytes=FIRST-LAST"; of other ranges nothing, as is the custom.
std::optional<std::pair<unsigned long, unsigned long>> readRange(std::string_view header) {
    constexpr std::string_view unit = "bytes=";
    const std::size_t dash = header.find('-');
    if (header.substr(0, unit.size()) != unit || dash == header.npos) {
        return std::nullopt;
    }
    const auto first = sizeIn(header.substr(unit.size(), dash - unit.size()));
    const auto last = dash + 1 == header.size() ? std::numeric_limits<std::size_t>::max()
                                                : sizeIn(header.substr(dash + 1));
    if (!first || !last || *last < *first) {
        return std::nullopt;
    }
    const std::size_t length = *last - *first;  // One less than the length, which may not fit.
    return std::pair(*first,
                     length == std::numeric_limits<std::size_t>::max() ? length : length + 1);
}

// Reads what RoadWriter writes.
class RoadReader {
public:
    RoadReader(const Road& road, const WireRequest& request)
        : road_(road), request_(request), parameters_(request.target) {
        const auto place = placeOf(request.target);
        if (!place || place->size() < road.room.size()) {
            throw WireError("unknown target");
        }
        place_ = place->substr(road.room.size());
    }

    template <class Record>
    Record read() const {
        kvxfields::Builder<Record> builder;
        forEachIndex<Record>([&](const auto& field, auto index) {
            using Field = std::decay_t<decltype(field)>;
            if constexpr (kvxfields::isWritten<Field>) {
                typename Field::Value value{};
                if (readField<Field::isArgument>(field.name, value)) {
                    builder.template set<index.value>(std::move(value));
                }
            }
        });
        Record record = builder.finish();
        giveContent(record, request_.content);
        return record;
    }

private:
    // Returns whether there is a value.
    template <bool isArgument, class Value>
    bool readField(std::string_view field, Value& value) const {
        if constexpr (std::is_same_v<Value, kvxclient::Resource>) {
            value = road_.place == Place::RESOURCE
                        ? readResource(place_)
                        : kvxclient::Resource(text16("path"), text16("bucket"));
            return true;
        } else {
            if constexpr (std::is_same_v<Value, std::string>) {
                if (isArgument || field == "fileHandleId"sv) {
                    value = decodeText(place_.substr(1));
                    return true;
                }
            }
            const std::string_view parameter = parameterOf(field);
            if (const std::string* text =
                    parameter.empty() ? nullptr : parameters_.find(parameter)) {
                fromParameter(*text, value);
                return true;
            }
            return readHeader(parameter, value);
        }
    }

    template <class Value>
    bool readHeader(std::string_view parameter, Value& value) const {
        if constexpr (std::is_same_v<Value, std::string>) {
            value = parameter == contentTypeParameter
                        ? headerValue(request_.headers, headers::contentType)
                        : std::string_view();
            return !value.empty();
        } else if constexpr (std::is_same_v<Value, unsigned long>) {
            if (request_.method != "GET"sv || parameters_.find("start") != nullptr ||
                parameters_.find("length") != nullptr) {
                return false;
            }
            const auto range = readRange(headerValue(request_.headers, headers::range));
            value = !range ? 0 : parameter == "start"sv ? range->first : range->second;
            return range.has_value();
        } else {
            return false;
        }
    }

    std::u16string text16(std::string_view parameter) const {
        const std::string* text = parameters_.find(parameter);
        auto units = json::toUtf16(text == nullptr ? std::string_view() : *text);
        if (!units) {
            throw WireError("no UTF-8 in a parameter");
        }
        return *std::move(units);
    }

    const Road& road_;
    const WireRequest& request_;
    const Parameters parameters_;
    std::string_view place_;
};

template <class Record>
Record readJson(json::Document&& document) {
    return json::readRecord<Record>(document.root());
}

}  // namespace

template <class Operation>
WireRequest Wire<Operation>::encode(const Request& request) {
    if constexpr (roadOf(Operation::name) != nullptr) {
        WireRequest result;
        result.content = viewOfContent(request);
        if (RoadWriter(*roadOf(Operation::name), result).write(request)) {
            return result;
        }
    }
    return encodeAsPost(request);
}

template <class Operation>
WireRequest Wire<Operation>::encodeAsPost(const Request& request) {
    WireRequest result;
    result.content = viewOfContent(request);
    result.method = "POST";
    result.target = targetPrefix;
    result.target += Operation::name == "login"sv ? loginRoom : Operation::name;
    json::writeRecord(result.body, request);
    if constexpr (hasContent<Request>()) {
        addHeader(result.headers, headers::jsonSize, std::to_string(result.body.size()));
    }
    addHeader(result.headers, headers::contentType, hasContent<Request>() ? anyType : jsonType);
    return result;
}

template <class Operation>
auto Wire<Operation>::decode(const WireRequest& request) -> Request {
    if (request.method != "POST"sv) {
        if constexpr (roadOf(Operation::name) != nullptr) {
            return RoadReader(*roadOf(Operation::name), request).template read<Request>();
        }
        throw WireError("unknown method");
    }
    if constexpr (hasContent<Request>()) {
        if (sizeIn(headerValue(request.headers, headers::jsonSize)) != request.body.size()) {
            throw WireError("content without the size of what stands before it");
        }
    }
    auto record = readJson<Request>(json::Document(std::string_view(request.body)));
    if constexpr (hasContent<Request>()) {
        giveContent(record, request.content);
    }
    return record;
}

template <class Operation>
WireAnswer Wire<Operation>::encodeAnswer(Response response) {
    WireAnswer answer;
    std::string text;
    if constexpr (hasContent<Response>()) {
        json::writeRecord(text, response);
        addHeader(answer.headers, headers::response, percentEncode(text));
        kvxfields::forEachField(response, [&](const auto& field, const auto& value) {
            using Field = std::decay_t<decltype(field)>;
            if constexpr (Field::kind == Kind::CONTENT) {
                auto bytes = Field::bytes(response);
                answer.size = bytes.size();
                answer.body = std::make_unique<WholeBody<decltype(bytes)>>(std::move(bytes));
            } else if constexpr (std::is_same_v<typename Field::Value, std::string>) {
                addHeader(answer.headers, headers::contentType,
                          fitsHeader(value) ? std::string_view(value) : anyType);
            }
        });
        return answer;
    }
    addHeader(answer.headers, headers::contentType, jsonType);
    if constexpr (json::hasLists<Response>()) {
        auto pieces = std::make_unique<json::RecordPieces<Response>>(std::move(response));
        if (pieces->write(text, blockSize)) {
            answer.body = std::make_unique<WrittenBody>(std::move(text), std::move(pieces));
            return answer;
        }
    } else {
        json::writeRecord(text, response);
    }
    answer.size = text.size();
    answer.body = std::make_unique<WholeBody<std::string>>(std::move(text));
    return answer;
}

template <class Operation>
auto Wire<Operation>::decodeAnswer(const std::vector<Header>& headers, std::string body)
    -> Response {
    if constexpr (hasContent<Response>()) {
        const std::string text = decodeText(headerValue(headers, headers::response));
        auto response = readJson<Response>(json::Document(std::string_view(text)));
        giveContent(response, body);
        return response;
    } else {
        return readJson<Response>(json::Document(std::move(body)));
    }
}

/// @cond
#define KVXREMOTE_WIRE(Service, operation, Type, ...) \
    template struct Wire<kvxtransport::operations::Type>;
KVXTRANSPORT_OPERATIONS(KVXREMOTE_WIRE)
#undef KVXREMOTE_WIRE
/// @endcond

}  // namespace storage::kvxremote
