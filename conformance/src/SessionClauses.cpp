#include "Clauses.h"

namespace storage::kvxconformance {

namespace {

/// Whether the code is one that a call without a valid session may fail with.
bool isSessionError(std::optional<Code> code) {
    return code == Code::UNAUTHORIZED || code == Code::INVALID_SESSION_ID ||
           code == Code::SESSION_EXPIRED;
}

/// A clause that logs in with the token of the first user; skipped if there is none.
std::function<void(Scene&)> withToken(void (*check)(Scene&, const std::string& token)) {
    return [check](Scene& s) {
        const std::string& token = s.owner.user().token;
        if (token.empty()) {
            GTEST_SKIP() << "the first user has no token";
        }
        check(s, token);
    };
}

std::string logIn(const Participant& who, const std::string& token) {
    const auto login = who.call(&KVXClient::login, LoginRequest().withToken(token));
    EXPECT_FALSE(login.getSessionId().empty());
    EXPECT_GT(login.getMinutesBeforeRelogin(), 0);
    return login.getSessionId();
}

}  // namespace

const Clauses sessionClauses{
    {"session.ping.answers",
     [](Scene& s) {
         std::promise<PingResponse> answer;
         auto future = answer.get_future();
         s.owner.client().ping(promiseCompletingHandler(std::move(answer)));
         ASSERT_EQ(future.wait_for(s.transport.patience), std::future_status::ready);
         EXPECT_NO_THROW(future.get());
     }},
    {"session.login.opensASession", withToken([](Scene& s, const std::string& token) {
         Participant other = s.another();
         const std::string before = other.client().getSessionId();
         const std::string id = logIn(other, token);
         EXPECT_EQ(other.client().getSessionId(), before) << "login must not set the id";
         other.client().withSessionId(id);
         EXPECT_EQ(other.names(s.folder), "");
     })},
    {"session.login.refusesAWrongToken", withToken([](Scene& s, const std::string& token) {
         for (const std::string& wrong : {std::string(), token + "x", std::string("wrong")}) {
             EXPECT_EQ(codeOf([&] { logIn(s.owner, wrong); }), Code::INVALID_TOKEN) << wrong;
         }
     })},
    {"session.id.unknownIsRefused",
     [](Scene& s) {
         Participant other = s.another();
         for (const std::string& id :
              {std::string("never given out"), s.owner.client().getSessionId() + "x",
               std::string("\0", 1)}) {
             other.client().withSessionId(id);
             EXPECT_TRUE(isSessionError(codeOf([&] { other.list(s.folder); }))) << id;
         }
     }},
    {"session.id.isReadAtEachCall",
     [](Scene& s) {
         Participant other = s.another();
         const std::string id = other.client().getSessionId();
         other.client().withSessionId("");
         EXPECT_TRUE(isSessionError(codeOf([&] { other.list(s.folder); })));
         other.client().withSessionId(id);
         EXPECT_EQ(other.names(s.folder), "");
     }},
    {"session.logout.endsTheSession",
     [](Scene& s) {
         const Participant other = s.another();
         EXPECT_EQ(other.names(s.folder), "");
         const std::string id = other.client().getSessionId();
         other.call(&KVXClient::logout, LogoutRequest());
         EXPECT_EQ(other.client().getSessionId(), id) << "logout must not clear the id";
         EXPECT_TRUE(isSessionError(codeOf([&] { other.list(s.folder); })));
         EXPECT_TRUE(
             isSessionError(codeOf([&] { other.call(&KVXClient::logout, LogoutRequest()); })));
         EXPECT_EQ(s.owner.names(s.folder), "") << "another session ended with it";
     }},
    {"session.services.knowTheirClient",
     [](Scene& s) {
         Participant other = s.another();
         const auto before = other.client().createFileAccess();
         other.client().withApplicationId("conformance");
         const auto after = other.client().createFileAccess();
         EXPECT_EQ(after->getEndpoint(), other.client().getEndpoint());
         EXPECT_EQ(after->getApplicationId(), "conformance");
         EXPECT_EQ(before->getApplicationId(), "") << "services keep what they were made with";
         EXPECT_EQ(after->getSessionId(), other.client().getSessionId());
         EXPECT_EQ(before->getSessionId(), other.client().getSessionId());
     }},
};

}  // namespace storage::kvxconformance
