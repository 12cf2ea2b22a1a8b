#include "operations/Files.h"

#include <chrono>
#include <istream>
#include <stdexcept>

#include "core/Secrets.h"
#include "core/Text.h"
#include "namespace/Deletion.h"
#include "namespace/FileVersions.h"
#include "namespace/LookupCache.h"
#include "namespace/Summaries.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

namespace {

using kvxclient::KVXClientErrorCode;

constexpr std::string_view downloadPrefix = "kvxstore://download/";
constexpr std::chrono::nanoseconds downloadLifetime = std::chrono::minutes(15);

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
        "select c.id, c.size, c.stored from downloads d join contents c on c.id = d.content"
        " where d.hash = $1 and d.expires > $2",
        {database::Blob{hash}, context.now()});
    if (!row->next()) {
        refuse(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }
    return {row->integer(0), row->integer(1), row->integer(2), {}};
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
    const auto size = static_cast<std::int64_t>(bytes.size());
    const Node file = revise(context, place, size, request.getCreateNewVersion());
    const std::int64_t content = writeContent(context, {bytes.data(), bytes.size()});
    addVersion(context, file, {content, size, size, request.getContentType()});
    LookupCache::on(context.database).keep();
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
    place.parent();
    moveToTrash(context, file, advance(context, place.bucket.id, 0));
    return kvxclient::FileDeleteResponse().withDeletedFileSummary(
        kvxclient::DeletedFileSummary()
            .withParentResource(place.parentResource())
            .withDeletedDate(toTime(context.now()))
            .withTombstone(std::to_string(file.id))
            .withSharedTrash(file.right != Right::OWN));
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
