#include "operations/Operations.h"

#include <chrono>
#include <istream>
#include <stdexcept>
#include <utility>

#include "core/Secrets.h"
#include "core/Text.h"
#include "namespace/ContentReading.h"
#include "namespace/Deletion.h"
#include "namespace/FileVersions.h"
#include "namespace/LookupCache.h"
#include "namespace/Summaries.h"
#include "namespace/Usage.h"

namespace storage::kvxstore::operations {

namespace {

constexpr std::string_view downloadPrefix = "kvxstore://download/";
constexpr std::chrono::nanoseconds downloadLifetime = std::chrono::minutes(15);

/// Refuses with FILE_TOO_LARGE what is too much for one answer.
void requireReadable(const Context& context, const Content& content) {
    if (std::cmp_greater(content.size, context.options.readLimit)) {
        refuse(ErrorCode::FILE_TOO_LARGE);
    }
}

/// The secret in a download location. The rest of the location is for people.
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
        "select c.id, c.size, c.stored, c.checksum, d.node, d.checksum from downloads d"
        " left join contents c on c.id = d.content where d.hash = $1 and d.expires > $2",
        {database::Blob{hash}, context.now()});
    if (!row->next()) {
        refuse(ErrorCode::RESOURCE_NOT_FOUND);
    }
    const Content content{row->integer(0), row->integer(1), row->integer(2), row->integer(3), {}, 0,
                          row->integer(4)};
    if (content.id == 0) {
        throwDamagedContent(context, content, "it is missing");
    }
    requireRow(context, content, row->integer(5));
    return content;
}

void readIntoStream(const Context& context, const Content& content,
                    const FileDownloadRequest& request) {
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

FileWriteResponse createFile(const Context& context, const FileCreateRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const std::vector<char>& bytes = request.getContent();
    if (bytes.size() > context.options.fileSizeLimit) {
        refuse(ErrorCode::FILE_TOO_LARGE);
    }
    requireContentType(request.getContentType());
    const NewBytes newBytes({bytes.data(), bytes.size()});
    const auto same = findSameContent(context, path, newBytes.size(), [&](const Content& current) {
        return newBytes.equal(context, current);
    });
    const ChangeAt change(context, path);
    const Node file =
        revise(context, path, newBytes.size(), request.getCreateNewVersion(), same ? same->id : 0);
    Content content = same ? *same : newBytes.write(context);
    content.type = request.getContentType();
    addVersion(context, file, content);
    LookupCache::on(context.database).keep();
    return FileWriteResponse()
        .withFileSummary(summarizeFile(file))
        .withVersionId(versionIdOf(file))
        .withVersionLabel(static_cast<int>(file.label));
}

FileReadResponse readFile(const Context& context, const FileReadRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Content content = findVersion(context, path.node(Kind::FILE), request.getVersionId(),
                                        request.getVersionLabel());
    requireReadable(context, content);
    FileReadResponse response;
    response.withContentType(content.type);
    readContent(context, content, [&](std::string_view bytes) {
        response.appendContent(bytes.data(), bytes.size());
    });
    return response;
}

FileDeleteResponse deleteFile(const Context& context, const FileDeleteRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& file = path.node(Kind::FILE);
    path.parent();
    softDelete(context, file, advanceFile(context, path.bucket.id));
    return FileDeleteResponse().withDeletedFileSummary(
        DeletedFileSummary()
            .withParentResource(path.parentResource())
            .withDeletedDate(toTime(context.now()))
            .withTombstone(std::to_string(file.id))
            .withSharedTrash(file.right != Right::OWN));
}

/// Makes a location that is a secret: anyone who has it may download the content for a quarter of
/// an hour, without a session. Refused with QUOTA_EXCEEDED when the caller has as many of them as
/// the options allow.
FileDownloadCreateResponse createFileDownload(const Context& context,
                                              const FileDownloadCreateRequest& request) {
    const ResolvedPath path = resolve(context, request.getResource());
    const Node& file = path.node(Kind::FILE);
    const Content content = findVersion(context, file, {}, file.label);
    const std::string secret = newSecret();
    const std::string hash = hashOf(secret);
    const std::int64_t now = context.now();
    const bool inserted =
        context.database.execute(
            "insert into downloads(hash, content, expires, checksum, owner, node)"
            " select $1, $2, $3, $4, $5, $6"
            " where (select count(*) from downloads where owner = $5 and expires > $7) < $8",
            {database::Blob{hash}, content.id, now + downloadLifetime.count(),
             rowChecksumOf(content), path.user, file.id, now, context.options.downloadLimit}) > 0;
    if (!inserted) {
        refuse(ErrorCode::QUOTA_EXCEEDED);
    }
    const Resource name(toUtf16(file.name), u"");
    return FileDownloadCreateResponse().withLocation(std::string(downloadPrefix) + secret + '/' +
                                                     name.getAsciiPercentEncodedPath());
}

FileDownloadResponse downloadFile(const Context& context, const FileDownloadRequest& request) {
    const Content content = findDownload(context, request.getLocation());
    FileDownloadResponse response;
    if (!request.getReadIntoString()) {
        readIntoStream(context, content, request);
        return response;
    }
    requireReadable(context, content);
    std::string body;
    body.reserve(static_cast<std::size_t>(content.size));
    readContent(context, content, [&](std::string_view bytes) { body += bytes; });
    response.withStringBody(std::move(body));
    return response;
}

}  // namespace storage::kvxstore::operations
