#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "storage/kvxclient/AccessControl.h"
#include "storage/kvxclient/ConfigurationManagement.h"
#include "storage/kvxclient/FileAccess.h"
#include "storage/kvxclient/IVersioning.h"
#include "storage/kvxclient/KVXClientException.h"
#include "storage/kvxclient/Notification.h"
#include "storage/kvxstore/Store.h"

namespace storage::kvxstore {

using namespace kvxclient;
using Code = KVXClientErrorCode;

/// A folder that is removed with the object.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder() { std::filesystem::remove_all(path_); }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string file(const std::string& name) const { return path_ / name; }
    /// The same store for the same name: the file of that name, where stores lie in files.
    std::string url(const std::string& name = "store.db") const;

private:
    std::filesystem::path path_;
    mutable std::map<std::string, std::string> onServer_;
};

/// A new store each time: in memory, or in a schema of the server that KVXSTORE_TEST_POSTGRES names
/// where that is set.
std::string newStoreUrl();

/// A logged-in user with short forms of calls, in the user's own bucket unless another is named.
struct Account {
    Account(const Store& store, const std::string& token);

    FileWriteResponse put(const std::u16string& path, const std::string& content,
                          bool newVersion = false, const std::u16string& bucket = u"") const;
    std::string get(const std::u16string& path, const std::u16string& bucket = u"") const;
    void makeFolder(const std::u16string& path, const std::u16string& bucket = u"") const;
    void removeFolder(const std::u16string& path, bool force) const;
    void move(const std::u16string& from, const std::u16string& to, bool overwrite = false) const;
    void copy(const std::u16string& from, const std::u16string& to, bool overwrite = false) const;
    void remove(const std::u16string& path) const;
    FileAttributes stat(const std::u16string& path) const;
    /// Names in listing order, folders first and with a slash at the end.
    std::string list(const std::u16string& path, bool hidden = false) const;
    /// Opens a file for reading only; returns the handle's id.
    std::string openToRead(const std::u16string& path, const std::u16string& bucket = u"",
                           int label = -1) const;
    std::string read(const std::string& handle, unsigned long offset, unsigned long length) const;
    void close(const std::string& handle, FileHandleCloseOperation operation,
               bool newVersion = false) const;
    /// Makes a download location.
    std::string offer(const std::u16string& path) const;

    std::unique_ptr<KVXClient> client;
    std::unique_ptr<FileAccess> files;
    std::unique_ptr<AccessControl> sharing;
    std::unique_ptr<ConfigurationManagement> configuration;
    std::unique_ptr<Notification> notification;
    std::unique_ptr<IVersioning> versioning;
};

/// A file that a user has open.
struct OpenFile {
    /// For reading and writing.
    OpenFile(const Account& user, const std::u16string& path,
             FileCreateMode mode = FileCreateMode::CREATE_OR_UPDATE, bool truncate = false,
             const std::string& contentType = {});

    void write(unsigned long offset, const std::string& bytes) const;
    std::string read(unsigned long offset, unsigned long length) const;
    void close(FileHandleCloseOperation operation = FileHandleCloseOperation::COMMIT_CHANGES,
               bool newVersion = false) const;

    const Account& account;
    FileHandleReadWriteCreateResponse opened;
    std::string id = opened.getFileHandleId();
};

FileCreateRequest createRequest(const Resource& resource, const std::string& content);

/// The name with the number behind it.
std::u16string numbered(const std::u16string& name, unsigned long number);

/// The code that a call fails with; nothing when it succeeds.
std::optional<Code> codeOf(const std::function<void()>& action);

/// The error that opening or administering a store fails with; nothing when it succeeds.
std::optional<StoreError> storeErrorOf(const std::function<void()>& action);

/// The cause nested in the exception that the action fails with.
std::string causeOf(const std::function<void()>& action);

/// A store with one user "main", in memory unless a test opens another.
class StoreTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string storeUrl = newStoreUrl();
    std::shared_ptr<Store> store = Store::open(storeUrl);
    std::string token = store->createUser({.name = u"main"});
    Account account{*store, token};
};

}  // namespace storage::kvxstore
