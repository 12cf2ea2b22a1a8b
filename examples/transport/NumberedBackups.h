#pragma once

#include <storage/kvxclient.h>
#include <algorithm>
#include <filesystem>

#include "Worker.h"

namespace example {

using namespace storage::kvxclient;

/// Serves the versions of local files from the numbered backups beside them, as
/// `cp --backup=numbered` makes them: "report.~1~" is the first version of "report".
class NumberedBackups : public IVersioning {
public:
    explicit NumberedBackups(std::filesystem::path root) : root_(std::move(root)) {}

    // Without these, overriding the callback forms would hide the blocking ones.
    using IVersioning::listVersions;
    using IVersioning::restoreVersion;

    void listVersions(VersionListRequest request,
                      CompletionHandler<VersionListResponse> handler) const override {
        worker_.call(std::move(handler), [this, request = std::move(request)] {
            const auto file = locate(request.getResource());
            std::vector<VersionSummary> versions;
            for (int label = 1; exists(backup(file, label)); ++label) {
                versions.push_back(describe(file, label));
            }
            return VersionListResponse()
                .withName(file.filename().u16string())
                .withVersions(std::move(versions));
        });
    }

    void restoreVersion(VersionRestoreRequest request,
                        CompletionHandler<VersionRestoreResponse> handler) const override {
        worker_.call(std::move(handler), [this, request = std::move(request)] {
            const auto file = locate(request.getResource());
            const int label = request.getVersionLabel();
            if (label < 1 || !exists(backup(file, label))) {
                fail(KVXClientErrorCode::RESOURCE_NOT_FOUND);
            }
            copy_file(backup(file, label), file, std::filesystem::copy_options::overwrite_existing);
            return VersionRestoreResponse()
                .withVersionId(std::to_string(label))
                .withVersionLabel(label);
        });
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

    // The local file of a resource; nothing outside the root is ever touched.
    std::filesystem::path locate(const Resource& resource) const {
        const std::filesystem::path path = resource.getPath();
        if (!path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end()) {
            fail(KVXClientErrorCode::ILLEGAL_PATH);
        }
        const auto file = root_ / path.relative_path();
        if (!is_regular_file(file)) {
            fail(KVXClientErrorCode::RESOURCE_NOT_FOUND);
        }
        return file;
    }

    const std::filesystem::path root_;
    mutable Worker worker_;  // Last, so that it ends before what its calls use.
};

}  // namespace example
