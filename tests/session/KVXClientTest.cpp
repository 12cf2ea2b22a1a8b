#include <gtest/gtest.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <filesystem>
#include <thread>
#include <vector>

#include "storage/kvxtesting/ScriptedTransport.h"

using namespace storage::kvxclient;
using namespace storage::kvxtesting;

namespace {

std::string encoded(const std::string& text) {
    ScriptedClient client("e");
    client.withClientString(text).withKVXClientType(text);
    EXPECT_EQ(client.getClientString(), client.getKvxClientType());
    return client.getClientString();
}

TEST(Client, startsWithItsEndpointOnlyAndKeepsWhatItIsGiven) {
    ScriptedClient client("e");
    EXPECT_EQ("e", client.getEndpoint());
    for (const auto& text :
         {client.getOriginId(), client.getApplicationId(), client.getClientString(),
          client.getKvxClientType(), client.getSessionId()}) {
        EXPECT_EQ("", text);
    }
    client.withEndpoint("e 2").withOriginId("a b").withApplicationId("c d").withSessionId("s/ 1");
    EXPECT_EQ("e 2", client.getEndpoint());
    EXPECT_EQ("a b", client.getOriginId());
    EXPECT_EQ("c d", client.getApplicationId());
    EXPECT_EQ("s/ 1", client.getSessionId());
    EXPECT_EQ("", client.withSessionId("").getSessionId());
}

TEST(Client, encodesClientStringAndTypeEachTime) {
    const struct {
        std::string text, encoded;
    } rows[] = {
        {"", ""},
        {"My App 1.0", "My%20App%201.0"},
        {"desktop-client_v2", "desktop%2Dclient%5Fv2"},
        {"a/b.c", "a/b.c"},
        {"\xC3\xA9", "%C3%A9"},
        {"a%20b", "a%2520b"},
        {std::string(1, '\0') + "~\xFF", "%00%7E%FF"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(row.encoded, encoded(row.text));
    }
}

// A Latin-1 locale of the test's own, in force while this lives.
class Latin1Locale {
public:
    Latin1Locale() : folder_(std::filesystem::temp_directory_path() / "kvx-locale-XXXXXX") {
        std::string name = folder_.string();
        folder_ = mkdtemp(name.data());
        const std::string command = "localedef --no-archive -i en_US -f ISO-8859-1 " +
                                    (folder_ / "latin1").string() + " 2>/dev/null";
        // localedef fails for mere warnings too: only whether the locale works counts.
        const int status = std::system(command.c_str());
        setenv("LOCPATH", folder_.c_str(), 1);
        active_ = status != -1 && std::setlocale(LC_CTYPE, "latin1") != nullptr;
    }
    ~Latin1Locale() {
        std::setlocale(LC_CTYPE, "C");
        unsetenv("LOCPATH");
        std::filesystem::remove_all(folder_);
    }
    bool active() const { return active_; }

private:
    std::filesystem::path folder_;
    bool active_ = false;
};

TEST(Client, encodingAsksTheLocaleWherePathsDoNot) {
    const Latin1Locale locale;
    ASSERT_TRUE(locale.active());
    EXPECT_EQ("caf\xE9%20\xE4%D7", encoded("caf\xE9 \xE4\xD7"));
    // As a signed char, 0xFF is EOF, which is never a letter.
    EXPECT_EQ("%FF", encoded("\xFF"));
    EXPECT_EQ("/caf%C3%A9", Resource(u"/caf\u00e9", u"").getAsciiPercentEncodedPath());
}

TEST(Client, leavesTheSessionIdToTheCaller) {
    using namespace storage::kvxtransport::operations;
    ScriptedClient client("e");
    client.transport.on<Ping>().runs(
        [](auto, auto handler) { handler(PingResponse().withValue("alive"), nullptr); });
    client.transport.on<Login>().runs([](LoginRequest request, auto handler) {
        if (request == LoginRequest().withToken("good")) {
            handler(LoginResponse().withSessionId("s1").withMinutesBeforeRelogin(60), nullptr);
        } else {
            handler({},
                    std::make_exception_ptr(KVXClientException(KVXClientErrorCode::INVALID_TOKEN)));
        }
    });
    EXPECT_EQ("alive", client.ping().getValue());
    EXPECT_EQ("alive", client.pingAsync().get().getValue());
    client.withSessionId("old");
    const LoginResponse login = client.login(LoginRequest().withToken("good"));
    EXPECT_EQ(60, login.getMinutesBeforeRelogin());
    EXPECT_EQ("old", client.getSessionId());
    EXPECT_THROW(client.login(LoginRequest().withToken("bad")), KVXClientException);
    EXPECT_EQ("old", client.getSessionId());
    client.withSessionId(login.getSessionId());
    client.logout(LogoutRequest());
    EXPECT_EQ("s1", client.getSessionId());
}

TEST(Client, readersSeeTheOldOrTheNewSessionId) {
    ScriptedClient client("e");
    const std::string ids[] = {std::string(100, 'a'), std::string(200, 'b')};
    client.withSessionId(ids[0]);
    std::atomic<bool> stop = false;
    std::atomic<int> mixtures = 0;
    std::vector<std::thread> readers;
    for (int reader = 0; reader < 4; ++reader) {
        readers.emplace_back([&] {
            while (!stop) {
                const std::string seen = client.getSessionId();
                mixtures += seen != ids[0] && seen != ids[1];
            }
        });
    }
    for (int round = 0; round < 2000; ++round) {
        client.withSessionId(ids[round % 2]);
    }
    stop = true;
    for (auto& reader : readers) {
        reader.join();
    }
    EXPECT_EQ(0, mixtures);
}

template <class Service>
void expectServiceConfiguration() {
    int calls = 0;
    Service service(
        "e", [&calls] { return std::to_string(++calls); }, "app");
    EXPECT_EQ("e", service.getEndpoint());
    EXPECT_EQ("app", service.getApplicationId());
    EXPECT_EQ("1", service.getSessionId());
    EXPECT_EQ("2", service.getSessionId());
    EXPECT_THROW(Service("e", nullptr, "app").getSessionId(), std::bad_function_call);
    if constexpr (!std::is_base_of_v<ConfigurationManagement, Service>) {
        EXPECT_EQ("", service.getOriginId() + service.getClientString() + service.getClientType());
        service.withOriginId("o").withClientString("a b\xE9").withKvxClientType("c-d");
        EXPECT_EQ("o", service.getOriginId());
        EXPECT_EQ("a b\xE9", service.getClientString());
        EXPECT_EQ("c-d", service.getClientType());
    }
}

TEST(Service, asksItsSupplierEachTimeAndKeepsItsStringsAsGiven) {
    expectServiceConfiguration<ScriptedFileAccess>();
    expectServiceConfiguration<ScriptedAccessControl>();
    expectServiceConfiguration<ScriptedConfigurationManagement>();
    expectServiceConfiguration<ScriptedNotification>();
}

}  // namespace
