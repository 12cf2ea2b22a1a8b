#include "operations/Files.h"

#include <chrono>
#include <istream>
#include <stdexcept>

#include "operations/Contents.h"
#include "operations/Places.h"
#include "operations/Secrets.h"
#include "operations/Text.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

constexpr std::string_view downloadPrefix = "kvxstore://download/";
constexpr std::chrono::nanoseconds downloadLifetime = std::chrono::minutes(15);

void updateFile(const Context& context, const Node& file) {
    context.database.execute(
        "update nodes set seq = $2, size = $3, label = $4, modified = $5, client_modified = 0"
        " where id = $1",
        {file.id, file.seq, file.size, file.label, file.modified});
}

/// The secret in a download location; whatever else the location says is for people.
std::string secretOf(const std::string& location) {
    if (!location.starts_with(downloadPrefix)) {
        return {};
    }
    const std::size_t start = downloadPrefix.size();
    return location.substr(start, location.find('/', start) - start);
}

Content findDownload(const Context& context, const std::string& location) {
    const std::string hash = hashOf(secretOf(location));
    const auto row = context.database.query(
        "select c.id, c.size from downloads d join contents c on c.id = d.content"
        " where d.hash = $1 and d.expires > $2",
        {database::Blob{hash}, context.now()});
    if (!row->next()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return {row->integer(0), row->integer(1), {}};
}

void readIntoStream(const Context& context, const Content& content,
                    const kvxclient::FileDownloadRequest& request) {
    const auto factory = request.getStreamFactory();
    const auto stream = factory ? factory() : nullptr;
    if (!stream) {
        throw std::runtime_error("the download has no stream to go into");
    }
    readContent(context, content, [&](std::string_view bytes) {
        if (!stream->write(bytes.data(), static_cast<std::streamsize>(bytes.size()))) {
            throw std::runtime_error("the stream did not take all of the download");
        }
    });
    if (!stream->flush()) {
        throw std::runtime_error("the stream did not take all of the download");
    }
}

}  // namespace

kvxclient::FileWriteResponse createFile(const Context& context,
                                        const kvxclient::FileCreateRequest& request) {
    const Place place = locate(context, request.getResource());
    const std::vector<char>& bytes = request.getContent();
    if (bytes.size() > context.options.fileSizeLimit) {
        refuse(KVXClientErrorCode::FILE_TOO_LARGE);
    }
    const bool replaces = place.exists();
    Node file = replaces ? place.node(Kind::FILE) : Node();
    const Node& parent = place.parent();
    const bool dropsOld = replaces && !request.getCreateNewVersion();

    const auto size = static_cast<std::int64_t>(bytes.size());
    file.seq = advance(context, place.bucket.id, size - (dropsOld ? file.size : 0));
    if (dropsOld) {
        dropVersion(context, file);
    }
    file.size = size;
    file.label += 1;
    file.modified = context.now();
    // The client's time was that of the content that is gone.
    file.clientModified = 0;
    if (replaces) {
        updateFile(context, file);
    } else {
        file.bucket = place.bucket.id;
        file.parent = parent.id;
        file.name = place.name();
        file.kind = Kind::FILE;
        file.created = file.modified;
        insertNode(context, file);
    }
    const std::int64_t content = writeContent(context, {bytes.data(), bytes.size()});
    addVersion(context, file, {content, size, request.getContentType()});
    return kvxclient::FileWriteResponse()
        .withFileSummary(summarizeFile(file))
        .withVersionId(versionIdOf(file))
        .withVersionLabel(static_cast<int>(file.label));
}

kvxclient::FileReadResponse readFile(const Context& context,
                                     const kvxclient::FileReadRequest& request) {
    const Place place = locate(context, request.getResource());
    const Content content = findVersion(context, place.node(Kind::FILE), request.getVersionId(),
                                        request.getVersionLabel());
    kvxclient::FileReadResponse response;
    response.withContentType(content.type);
    readContent(context, content, [&](std::string_view bytes) {
        response.appendContent(bytes.data(), bytes.size());
    });
    return response;
}

kvxclient::FileDeleteResponse deleteFile(const Context& context,
                                         const kvxclient::FileDeleteRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& file = place.node(Kind::FILE);
    moveToTrash(context, file, advance(context, place.bucket.id, 0));
    return kvxclient::FileDeleteResponse().withDeletedFileSummary(
        kvxclient::DeletedFileSummary()
            .withParentResource(place.parentResource())
            .withDeletedDate(toTime(context.now()))
            .withTombstone(std::to_string(file.id)));
}

kvxclient::FileDownloadCreateResponse createFileDownload(
    const Context& context, const kvxclient::FileDownloadCreateRequest& request) {
    const Place place = locate(context, request.getResource());
    const Node& file = place.node(Kind::FILE);
    const Content content = findVersion(context, file, {}, file.label);
    const std::string secret = newSecret();
    const std::string hash = hashOf(secret);
    context.database.execute(
        "insert into downloads(hash, content, expires) values($1, $2, $3)",
        {database::Blob{hash}, content.id, context.now() + downloadLifetime.count()});
    const kvxclient::Resource name(toUtf16(file.name), u"");
    return kvxclient::FileDownloadCreateResponse().withLocation(
        std::string(downloadPrefix) + secret + '/' + name.getAsciiPercentEncodedPath());
}

kvxclient::FileDownloadResponse downloadFile(const Context& context,
                                             const kvxclient::FileDownloadRequest& request) {
    const Content content = findDownload(context, request.getLocation());
    kvxclient::FileDownloadResponse response;
    if (!request.getReadIntoString()) {
        readIntoStream(context, content, request);
        return response;
    }
    std::string body;
    body.reserve(static_cast<std::size_t>(content.size));
    readContent(context, content, [&](std::string_view bytes) { body += bytes; });
    response.withStringBody(std::move(body));
    return response;
}

}  // namespace storage::kvxstore::operations
