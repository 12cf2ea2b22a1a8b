#include <atomic>
#include <thread>

#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

/// "0", "1", ... with a letter before it.
std::u16string numbered(char16_t letter, int number) {
    const std::string digits = std::to_string(number);
    return letter + std::u16string(digits.begin(), digits.end());
}

/// Runs an action in several threads at once; an exception fails the clause.
void inThreads(int count, const std::function<void(int)>& action) {
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&action, i] {
            try {
                action(i);
            } catch (const std::exception& error) {
                ADD_FAILURE() << "a thread's call failed: " << error.what();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

using FolderCalls = std::vector<std::shared_ptr<Outcome<FolderCreateResponse>>>;

FolderCalls startFolders(const Participant& who, const Resource& folder, int count) {
    FolderCalls calls;
    for (int i = 0; i < count; ++i) {
        calls.push_back(who.start(&FileAccess::createFolder, folder / numbered(u'd', i)));
    }
    return calls;
}

/// Counts the cancelled calls; the others must have succeeded.
int countCancelled(const FolderCalls& calls) {
    int cancelled = 0;
    for (const auto& call : calls) {
        const auto code = codeOf([&] { call->get(); });
        EXPECT_TRUE(!code || code == Code::BAD_NETWORK) << *code;
        cancelled += code ? 1 : 0;
    }
    return cancelled;
}

}  // namespace

const Clauses callClauses{
    {"calls.handler.mayStartACall",
     [](Scene& s) {
         // Each handler starts the next call; the last one completes the promise.
         std::promise<void> done;
         std::function<void(int)> step = [&](int depth) {
             if (depth == 30) {
                 done.set_value();
                 return;
             }
             s.owner.start(&FileAccess::createFolder, s.at(numbered(u'd', depth)),
                           [&step, depth] { step(depth + 1); });
         };
         step(0);
         ASSERT_EQ(done.get_future().wait_for(s.transport.patience), std::future_status::ready);
         s.owner.client().waitForPendingCalls();
         EXPECT_EQ(s.owner.list(s.folder).getFolders().size(), 30U);
     }},
    {"calls.handler.mayThrow",
     [](Scene& s) {
         for (int i = 0; i < 10; ++i) {
             const auto call =
                 s.owner.start(&FileAccess::createFolder, s.at(numbered(u'd', i)),
                               [] { throw std::runtime_error("a handler's own failure"); });
             EXPECT_NO_THROW(call->get());
         }
         s.owner.client().waitForPendingCalls();
         EXPECT_EQ(s.owner.list(s.folder).getFolders().size(), 10U);
     }},
    {"calls.arguments.mayGoOnReturn",
     [](Scene& s) {
         std::vector<std::shared_ptr<Outcome<FileWriteResponse>>> calls;
         std::string content;
         for (int i = 0; i < 50; ++i) {
             auto request = std::make_unique<FileCreateRequest>(s.at(numbered(u'f', i)));
             content.assign(20'000, static_cast<char>('0' + i));
             request->appendContent(content.data(), content.size());
             calls.push_back(s.owner.start(&FileAccess::createFile, *request));
         }
         content.clear();
         for (int i = 0; i < 50; ++i) {
             calls[static_cast<std::size_t>(i)]->get();
             EXPECT_TRUE(s.owner.read(s.at(numbered(u'f', i))) ==
                         std::string(20'000, static_cast<char>('0' + i)));
         }
     }},
    {"calls.wait.returnsAfterAll",
     [](Scene& s) {
         for (int attempt = 0; attempt < 5; ++attempt) {
             const Resource folder = s.at(numbered(u'e', attempt));
             s.owner.makeFolder(folder);
             const auto calls = startFolders(s.owner, folder, 100);
             s.owner.client().waitForPendingCalls();
             for (const auto& call : calls) {
                 EXPECT_EQ(call->completions(), 1);
             }
         }
         s.owner.client().waitForPendingCalls();
     }},
    {"calls.cancel.completesEachOnce",
     [](Scene& s) {
         s.owner.client().cancelPendingCalls();
         const auto calls = startFolders(s.owner, s.folder, 300);
         s.owner.client().cancelPendingCalls();
         s.owner.client().waitForPendingCalls();
         countCancelled(calls);
         s.owner.makeFolder(s.at(u"after"));
     }},
    {"calls.cancel.endsWhatIsOutstanding",
     [](Scene& s) {
         // All calls may complete just before they are cancelled, but not every time. If each
         // completes before it returns, there is nothing to cancel.
         int cancelled = 0;
         int outstanding = 0;
         for (int attempt = 0; attempt < 10 && cancelled == 0; ++attempt) {
             const Resource folder = s.at(numbered(u'e', attempt));
             s.owner.makeFolder(folder);
             const auto calls = startFolders(s.owner, folder, 300);
             outstanding += calls.back()->completions() == 0 ? 1 : 0;
             s.owner.client().cancelPendingCalls();
             cancelled = countCancelled(calls);
         }
         EXPECT_TRUE(cancelled > 0 || outstanding < 3);
     },
     {Capability::CANCELLATION}},
    {"calls.cancel.leavesOtherClientsAlone",
     [](Scene& s) {
         const Participant other = s.another();
         const auto calls = startFolders(other, s.folder, 100);
         s.owner.client().cancelPendingCalls();
         EXPECT_EQ(countCancelled(calls), 0);
         EXPECT_EQ(s.owner.list(s.folder).getFolders().size(), 100U);
     },
     {Capability::CANCELLATION}},
};

const Clauses concurrencyClauses{
    {"concurrency.create.oneWins",
     [](Scene& s) {
         std::atomic<int> created = 0;
         inThreads(4, [&](int) {
             for (int i = 0; i < 20; ++i) {
                 const auto code = codeOf([&] { s.owner.makeFolder(s.at(numbered(u'd', i))); });
                 EXPECT_TRUE(!code || code == Code::CONFLICT) << *code;
                 created += code ? 0 : 1;
             }
         });
         EXPECT_EQ(created, 20);
     }},
    {"concurrency.move.oneWins",
     [](Scene& s) {
         s.owner.write(s.f, "text");
         std::atomic<int> moved = 0;
         inThreads(4, [&](int thread) {
             const auto code = codeOf([&] { s.owner.move(s.f, s.at(numbered(u'g', thread))); });
             EXPECT_TRUE(!code || code == Code::RESOURCE_NOT_FOUND) << *code;
             moved += code ? 0 : 1;
         });
         EXPECT_EQ(moved, 1);
         EXPECT_EQ(s.owner.list(s.folder).getFiles().size(), 1U);
     }},
    {"concurrency.write.losesNoFile",
     [](Scene& s) {
         inThreads(4, [&](int thread) {
             for (int i = 0; i < 75; ++i) {
                 const auto name = numbered(static_cast<char16_t>(u'a' + thread), i);
                 s.owner.write(s.at(name), toUtf8(name));
             }
         });
         const auto files = s.owner.list(s.folder).getFiles();
         EXPECT_EQ(files.size(), 300U) << "a listing tells all, however many";
         for (const FileSummary& file : files) {
             EXPECT_EQ(s.owner.read(s.at(file.getName())), toUtf8(file.getName()));
         }
     }},
    {"versions.write.losesNoneAtOnce",
     [](Scene& s) {
         s.owner.write(s.f, "0");
         std::mutex mutex;
         std::map<int, std::string> written;
         inThreads(4, [&](int thread) {
             for (int i = 0; i < 10; ++i) {
                 const std::string content = std::to_string(thread * 10 + i);
                 const int label = s.owner.write(s.f, content, true).getVersionLabel();
                 const std::lock_guard lock(mutex);
                 EXPECT_TRUE(written.emplace(label, content).second) << "label twice: " << label;
             }
         });
         for (const auto& [label, content] : written) {
             EXPECT_EQ(s.owner.read(s.f, label), content);
         }
         EXPECT_EQ(s.owner.versions(s.f).size(), 41U);
     }},
    {"concurrency.read.isNeverTorn",
     [](Scene& s) {
         const std::string contents[] = {std::string(300'000, 'a'), std::string(500, 'b')};
         s.owner.write(s.f, contents[0]);
         std::atomic<bool> stop = false;
         inThreads(3, [&](int thread) {
             for (std::size_t i = 0; thread == 0 && i < 60; ++i) {
                 s.owner.write(s.f, contents[i % 2]);
             }
             stop = stop || thread == 0;
             do {
                 const std::string content = s.owner.read(s.f);
                 EXPECT_TRUE(content == contents[0] || content == contents[1]);
                 const auto size = s.owner.list(s.folder).getFiles().at(0).getSize();
                 EXPECT_TRUE(size == contents[0].size() || size == contents[1].size());
             } while (!stop);
         });
     }},
    {"handles.write.sideBySide",
     [](Scene& s) {
         const std::string handle =
             s.owner.openToWrite(s.f, FileCreateMode::CREATE).getFileHandleId();
         inThreads(4, [&](int thread) {
             for (int i = 0; i < 8; ++i) {
                 const auto offset = static_cast<unsigned long>(i * 4 + thread) * 50'000;
                 s.owner.writeRange(s.f, handle, offset,
                                    std::string(50'000, static_cast<char>('a' + thread)));
             }
         });
         s.owner.close(s.f, handle);
         const std::string content = s.owner.read(s.f);
         ASSERT_EQ(content.size(), 32U * 50'000);
         for (std::size_t i = 0; i < 32; ++i) {
             EXPECT_TRUE(content.substr(i * 50'000, 50'000) ==
                         std::string(50'000, static_cast<char>('a' + i % 4)))
                 << "piece " << i;
         }
     }},
};

}  // namespace storage::kvxconformance
