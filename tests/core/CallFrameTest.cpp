#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "storage/kvxclient.h"
#include "support/Allocations.h"
#include "support/ScriptedServices.h"

using namespace storage::kvxclient;

namespace {

constexpr std::size_t large = allocations::large;

FileReadResponse largeResponse() {
    FileReadResponse response;
    const std::string content(large, 'x');
    response.appendContent(content.data(), content.size());
    return response;
}

// One call in its blocking and its future form, with the outcome of a scripted transport.
class ReadFrame : public testing::Test {
protected:
    using Handler = CompletionHandler<FileReadResponse>;

    template <class Outcome>
    void forBothForms(std::function<void(Handler)> script, Outcome outcome) {
        files_.onRead = std::move(script);
        outcome([this] { return files_.readFile(request_); });
        outcome([this] { return files_.readFileAsync(request_).get(); });
    }

    const FileReadRequest request_ = FileReadRequest(Resource(u"/a", u"b"));
    ScriptedFileAccess files_;
};

const auto conflict = [] {
    return std::make_exception_ptr(KVXClientException(KVXClientErrorCode::CONFLICT));
};

TEST_F(ReadFrame, deliversAnInlineCompletion) {
    forBothForms([](Handler handler) { handler(FileReadResponse().withContentType("x"), nullptr); },
                 [](auto call) { EXPECT_EQ("x", call().getContentType()); });
    EXPECT_EQ(std::future_status::ready,
              files_.readFileAsync(request_).wait_for(std::chrono::seconds(0)));
    EXPECT_EQ(request_, files_.lastRead.value());
}

TEST_F(ReadFrame, deliversACompletionFromAnotherThread) {
    std::vector<std::thread> threads;
    forBothForms(
        [&](Handler handler) {
            threads.emplace_back([handler = std::move(handler)] {
                handler(FileReadResponse().withContentType("late"), nullptr);
            });
        },
        [](auto call) { EXPECT_EQ("late", call().getContentType()); });
    for (auto& thread : threads) {
        thread.join();
    }
}

TEST_F(ReadFrame, rethrowsTheVeryExceptionAndDropsTheResponse) {
    const std::exception_ptr error = conflict();
    forBothForms([&](Handler handler) { handler(largeResponse(), error); },
                 [&](auto call) {
                     try {
                         call();
                         ADD_FAILURE() << "no exception";
                     } catch (...) {
                         EXPECT_EQ(error, std::current_exception());
                     }
                 });
}

TEST_F(ReadFrame, reportsADroppedHandlerAsABrokenPromise) {
    forBothForms([](Handler) {},
                 [](auto call) {
                     try {
                         call();
                         ADD_FAILURE() << "no exception";
                     } catch (const std::future_error& error) {
                         EXPECT_EQ(std::future_errc::broken_promise, error.code());
                     }
                 });
}

TEST_F(ReadFrame, keepsTheFirstOfTwoCompletions) {
    forBothForms(
        [](Handler handler) {
            const Handler copy = handler;
            handler(FileReadResponse().withContentType("first"), nullptr);
            for (const auto& again : {handler, copy}) {
                try {
                    again(FileReadResponse().withContentType("second"), nullptr);
                    ADD_FAILURE() << "completed twice";
                } catch (const std::future_error& error) {
                    EXPECT_EQ(std::future_errc::promise_already_satisfied, error.code());
                }
            }
        },
        [](auto call) { EXPECT_EQ("first", call().getContentType()); });
}

TEST_F(ReadFrame, letsThroughWhatTheCallbackFormThrows) {
    forBothForms([](Handler) { throw std::logic_error("refused"); },
                 [](auto call) { EXPECT_THROW(call(), std::logic_error); });
    EXPECT_THROW(files_.readFileAsync(request_), std::logic_error);
}

TEST_F(ReadFrame, movesTheResponseAllTheWay) {
    files_.onRead = [](Handler handler) {
        FileReadResponse response = largeResponse();
        allocations::countLarge = 0;
        handler(std::move(response), nullptr);
    };
    const FileReadResponse response = files_.readFile(request_);
    EXPECT_EQ(0u, allocations::countLarge);
    EXPECT_EQ(large, response.getContentLength());
}

TEST(CallFrame, allocatesOnlyForPromiseSharedPointerAndHandler) {
    ScriptedFileAccess files;
    FolderCreateRequest request(Resource(u"/a", u"b"));
    allocations::count = 0;
    auto future = files.createFolderAsync(std::move(request));
    EXPECT_EQ(4u, allocations::count);  // Two are the promise's own.
    future.get();
}

struct Counted {
    int* moves;
    Counted(int* counter) : moves(counter) {}
    Counted(Counted&& other) : moves(other.moves) { ++*moves; }
};

TEST(CallFrame, movesTheResponseOnceIntoThePromiseAndOnceOutOfTheFuture) {
    int moves = 0;
    std::promise<Counted> promise;
    auto future = promise.get_future();
    const auto handler = promiseCompletingHandler(std::move(promise));
    handler(Counted(&moves), nullptr);
    EXPECT_EQ(1, moves);
    const Counted ready = future.get();
    EXPECT_EQ(2, *ready.moves);
}

TEST(CallFrame, copiesTheResponseOnceWhereTheServiceDoes) {
    const std::string watermark(large, 'w');
    ScriptedNotification changes;
    changes.onList = [&](CompletionHandler<FileChangeListResponse> handler) {
        FileChangeListResponse response;
        response.withCurrentWatermark(watermark);
        allocations::countLarge = 0;
        handler(std::move(response), nullptr);
        EXPECT_EQ(1u, allocations::countLarge);
        EXPECT_THROW(handler({}, nullptr), std::future_error);
    };
    const auto response = changes.listFileChanges(FileChangeListRequest());
    EXPECT_EQ(watermark, response.getCurrentWatermark());
    changes.onList = [&](CompletionHandler<FileChangeListResponse> handler) {
        handler(response, conflict());
    };
    EXPECT_THROW(changes.listFileChanges(FileChangeListRequest()), KVXClientException);
    changes.onList = [](CompletionHandler<FileChangeListResponse>) {};
    EXPECT_THROW(changes.listFileChanges(FileChangeListRequest()), std::future_error);
}

TEST(Versioning, blockingFormGoesThroughTheFutureFormInForce) {
    struct Replaced : ScriptedVersioning {
        using ScriptedVersioning::listVersions;
        std::future<VersionListResponse> listVersionsAsync(VersionListRequest) const override {
            std::promise<VersionListResponse> promise;
            promise.set_value(VersionListResponse().withName(u"replaced"));
            return promise.get_future();
        }
    };
    EXPECT_EQ(u"replaced", Replaced().listVersions(VersionListRequest(Resource())).getName());
}

// Both other forms of an operation reach its own callback form.
#define REACHES(service, operation, ...)         \
    service.reached.clear();                     \
    service.operation##Async(__VA_ARGS__).get(); \
    service.operation(__VA_ARGS__);              \
    EXPECT_EQ((std::vector<std::string>{#operation, #operation}), service.reached)

TEST(CallFrame, everyOperationReachesItsCallbackForm) {
    const Resource resource(u"/a", u"b");
    const ScriptedFileAccess files;
    REACHES(files, createFile, FileCreateRequest(resource));
    REACHES(files, deleteFile, FileDeleteRequest(resource));
    REACHES(files, createFileDownload, FileDownloadCreateRequest(resource));
    REACHES(files, downloadFile, FileDownloadRequest("l/"));
    REACHES(files, createFolder, FolderCreateRequest(resource));
    REACHES(files, deleteFolder, FolderDeleteRequest(resource));
    REACHES(files, createReadOnlyFileHandle, FileHandleReadOnlyCreateRequest(resource));
    REACHES(files, createReadWriteFileHandle, FileHandleReadWriteCreateRequest(resource));
    REACHES(files, readFile, FileReadRequest(resource));
    REACHES(files, readFileContent, FileContentReadRequest(resource));
    REACHES(files, writeFileContent, FileContentWriteRequest(resource));
    REACHES(files, closeFileHandle, FileHandleCloseRequest(resource));
    REACHES(files, listFolder, FolderListRequest(resource));
    REACHES(files, listMultiFolder, MultiFolderListRequest(resource));
    REACHES(files, move, MoveOrCopyRequest(resource, resource));
    REACHES(files, copy, MoveOrCopyRequest(resource, resource));
    REACHES(files, readFileAttributes, FileAttributesReadRequest(resource));
    REACHES(files, setMetadata, SetMetadataRequest(resource));

    const ScriptedAccessControl sharing;
    REACHES(sharing, grantPermission, PermissionGrantRequest(resource));
    REACHES(sharing, revokePermission, PermissionRevokeRequest(resource));
    REACHES(sharing, listPermissions, PermissionListRequest(resource));
    REACHES(sharing, createInvitation, InvitationCreateRequest(resource));
    REACHES(sharing, readInvitation, InvitationReadRequest());
    REACHES(sharing, updateInvitation, InvitationUpdateRequest());
    REACHES(sharing, deleteInvitation, InvitationDeleteRequest());
    REACHES(sharing, listInvitations, InvitationListRequest());
    REACHES(sharing, copyFolderFromInvitation, InvitationCopyFolderRequest());
    REACHES(sharing, getFolderContentFromInvitation, InvitationFolderContentRequest());
    REACHES(sharing, getInvitationDetails, InvitationDetailsRequest());

    const ScriptedConfigurationManagement configuration;
    REACHES(configuration, setResourcePolicy, ResourcePolicySetRequest());
    REACHES(configuration, getResourcePolicy, ResourcePolicyGetRequest());
    REACHES(configuration, getStorageUsage, StorageUsageGetRequest());

    const ScriptedVersioning versions;
    REACHES(versions, listVersions, VersionListRequest(resource));
    REACHES(versions, restoreVersion, VersionRestoreRequest(resource));
}

}  // namespace
