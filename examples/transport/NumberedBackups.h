#pragma once

#include <storage/kvxtransport/Services.h>
#include <algorithm>
#include <filesystem>

#include "Worker.h"

namespace example {

using namespace storage::kvxclient;
namespace operations = kvxtransport::operations;

/// The numbered backups beside local files, as `cp --backup=numbered` makes them: "report.~1~" is
/// the first version of "report". A function for each operation that they serve.
class NumberedBackups {
public:
    explicit NumberedBackups(const std::filesystem::path& root) : root_(canonical(root)) {}

    /// Every operation but those below.
    template <class Operation>
    typename Operation::Response serve(Operation, const typename Operation::Request&) const {
        fail(KVXClientErrorCode::UNKNOWN);
    }

    VersionListResponse serve(operations::ListVersions, const VersionListRequest& request) const {
        const auto file = locate(request.getResource());
        std::vector<VersionSummary> versions;
        for (int label = 1; label <= newest(file); ++label) {
            versions.push_back(describe(file, label));
        }
        return VersionListResponse()
            .withName(file.filename().u16string())
            .withVersions(std::move(versions));
    }

    VersionRestoreResponse serve(operations::RestoreVersion,
                                 const VersionRestoreRequest& request) const {
        const auto file = locate(request.getResource());
        const int label = find(file, request);
        int restored = label;
        if (request.getCreateNewVersion()) {
            restored = newest(file) + 1;
            copy_file(backup(file, label), backup(file, restored));
        }
        copy_file(backup(file, label), file, std::filesystem::copy_options::overwrite_existing);
        return VersionRestoreResponse()
            .withVersionId(std::to_string(restored))
            .withVersionLabel(restored);
    }

private:
    [[noreturn]] static void fail(KVXClientErrorCode code) { throw KVXClientException(code); }

    static std::filesystem::path backup(std::filesystem::path file, int label) {
        return file += ".~" + std::to_string(label) + "~";
    }

    static VersionSummary describe(const std::filesystem::path& file, int label) {
        const auto written = last_write_time(backup(file, label));
        return VersionSummary()
            .withVersionId(std::to_string(label))
            .withVersionLabel(label)
            .withCreated(std::chrono::file_clock::to_sys(written));
    }

    static int newest(const std::filesystem::path& file) {
        int label = 0;
        while (exists(backup(file, label + 1))) {
            ++label;
        }
        return label;
    }

    // The label of the version that is asked for, by id or by label.
    static int find(const std::filesystem::path& file, const VersionRestoreRequest& request) {
        for (int label = newest(file); label > 0; --label) {
            if (request.getVersionId() == std::to_string(label) ||
                (request.getVersionId().empty() && request.getVersionLabel() == label)) {
                return label;
            }
        }
        fail(KVXClientErrorCode::RESOURCE_NOT_FOUND);
    }

    // The local file of a resource; a path or a link that leads out of the root is refused.
    std::filesystem::path locate(const Resource& resource) const {
        const std::filesystem::path path = resource.getPath();
        const auto file = weakly_canonical(root_ / path.relative_path());
        if (!path.is_absolute() ||
            std::mismatch(root_.begin(), root_.end(), file.begin(), file.end()).first !=
                root_.end()) {
            fail(KVXClientErrorCode::ILLEGAL_PATH);
        }
        if (!is_regular_file(file)) {
            fail(KVXClientErrorCode::RESOURCE_NOT_FOUND);
        }
        return file;
    }

    std::filesystem::path root_;
};

/// The transport: it has each call served on its worker.
class BackupTransport {
public:
    explicit BackupTransport(NumberedBackups backups) : backups_(std::move(backups)) {}

    template <class Operation>
    void call(const kvxtransport::Caller&, typename Operation::Request request,
              typename Operation::Handler handler) const {
        worker_->start(std::move(handler), [backups = backups_, request = std::move(request)] {
            return backups.serve(Operation(), request);
        });
    }

    void cancelPendingCalls() const { worker_->cancel(); }
    void waitForPendingCalls() const { worker_->wait(); }

private:
    NumberedBackups backups_;
    std::shared_ptr<Worker> worker_ = std::make_shared<Worker>();
};

}  // namespace example
