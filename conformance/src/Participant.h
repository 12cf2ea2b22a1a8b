#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "Outcome.h"
#include "storage/kvxclient.h"
#include "storage/kvxconformance/Conformance.h"

namespace storage::kvxconformance {

using namespace kvxclient;
using Code = KVXClientErrorCode;

/// The code that the action fails with; nothing when it succeeds.
std::optional<Code> codeOf(const std::function<void()>& action);

/// The text as UTF-8.
std::string toUtf8(const std::u16string& text);

/// The resource of that name in a folder.
Resource operator/(const Resource& folder, const std::u16string& name);

/// A user who is logged in, and short words for what he does. Every call he makes is awaited with
/// patience and entered in the ledger.
class Participant {
public:
    Participant(const Transport& transport, User user, Ledger& ledger);

    const std::u16string& name() const { return user_.name; }
    const User& user() const { return user_; }
    Resource root() const { return {u"/", user_.bucket}; }
    const KVXClient& client() const { return *client_; }
    KVXClient& client() { return *client_; }

    template <class Service>
    const Service& service() const {
        if constexpr (std::is_same_v<Service, KVXClient>) {
            return *client_;
        } else {
            return *std::get<std::unique_ptr<Service>>(services_);
        }
    }

    /// Starts a call by its callback form; the handler goes on with `next`.
    template <class Service, class Request, class Response>
    std::shared_ptr<Outcome<Response>> start(
        void (Service::*form)(Request, CompletionHandler<Response>) const,
        std::type_identity_t<Request> request, std::function<void()> next = {}) const {
        const auto outcome = ledger_.open<Response>();
        (service<Service>().*form)(std::move(request),
                                   Outcome<Response>::handler(outcome, std::move(next)));
        return outcome;
    }

    template <class Service, class Request, class Response>
    Response call(void (Service::*form)(Request, CompletionHandler<Response>) const,
                  std::type_identity_t<Request> request) const {
        return start(form, std::move(request))->get();
    }

    FileWriteResponse write(const Resource& file, const std::string& content,
                            bool createNewVersion = false) const;
    /// The content of the current version, or of the one with the label.
    std::string read(const Resource& file, int versionLabel = -1) const;
    void makeFolder(const Resource& folder) const;
    void remove(const Resource& file) const;
    void removeFolder(const Resource& folder, bool force) const;
    void move(const Resource& from, const Resource& to, bool overwrite = false) const;
    void copy(const Resource& from, const Resource& to, bool overwrite = false) const;
    FileAttributes stat(const Resource& item) const;
    FolderListResponse list(const Resource& folder, bool hidden = true) const;

    /// The names in a folder in the order of their code units, folders with a slash.
    std::string names(const Resource& folder, bool hidden = true) const;
    /// All below a folder by path, files with their content: "f=text sub/ { g=text } ".
    std::string tree(const Resource& folder) const;

    std::string openToRead(const Resource& file, int versionLabel = -1) const;
    FileHandleReadWriteCreateResponse openToWrite(const Resource& file, FileCreateMode mode,
                                                  bool truncate = false) const;
    unsigned long writeRange(const Resource& file, const std::string& handle, unsigned long offset,
                             const std::string& bytes) const;
    std::string readRange(const Resource& file, const std::string& handle, unsigned long offset,
                          unsigned long length) const;
    void close(const Resource& file, const std::string& handle,
               FileHandleCloseOperation operation = FileHandleCloseOperation::COMMIT_CHANGES,
               bool createNewVersion = false) const;

    /// Gives a right; returns the id of the permission.
    std::string grant(const Resource& item, const std::u16string& subject,
                      Operation operation) const;
    Invitation invite(const Resource& folder, const std::u16string& recipient,
                      AccessType accessType = AccessType::READ_ONLY) const;
    Invitation answer(const Invitation& invitation, InvitationStatus status) const;

    std::vector<VersionSummary> versions(const Resource& file) const;

private:
    User user_;
    Ledger& ledger_;
    std::unique_ptr<KVXClient> client_;
    std::tuple<std::unique_ptr<FileAccess>, std::unique_ptr<AccessControl>,
               std::unique_ptr<ConfigurationManagement>, std::unique_ptr<Notification>,
               std::unique_ptr<IVersioning>>
        services_;
};

}  // namespace storage::kvxconformance
