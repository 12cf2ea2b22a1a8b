#include "Certificates.h"
#include "RemoteFixture.h"

// Who may speak to whom, as certificates say.

namespace storage::kvxremote {
namespace {

/// The code and the cause of a failure; "OK" without one.
std::string outcomeOfLogin(const std::string& url, const std::string& token) {
    try {
        RemoteUser(url, token).files->listFolder(FolderListRequest(Resource(u"/", u"")));
        return "OK";
    } catch (const KVXClientException& exception) {
        try {
            std::rethrow_if_nested(exception);
        } catch (const std::exception& cause) {
            return cause.what();
        }
        return "no cause";
    }
}

class ServerTlsTest : public ::testing::Test {
protected:
    void start(const CertificateFiles& files, const std::string& clientCa = "") {
        kvxserver::ServerOptions options = serverOptions();
        options.plain = false;
        options.certificateFile = files.certificate;
        options.keyFile = files.key;
        options.clientCaFile = clientCa;
        server =
            std::make_unique<kvxserver::Server>(options, [this] { return store->createClient(); });
    }

    std::string url(const std::string& query) const {
        return "kvx://127.0.0.1:" + std::to_string(server->port()) + "?retries=1&" + query;
    }

    TemporaryFolder folder;
    const Authority authority{folder, "authority"};
    const Authority foreign{folder, "foreign"};
    std::shared_ptr<kvxstore::Store> store = kvxstore::Store::open("sqlite::memory:");
    const std::string token = store->createUser({.name = u"main"});
    std::unique_ptr<kvxserver::Server> server;
};

TEST_F(ServerTlsTest, aClientTrustsOnlyTheRightServerAndSaysWhyNot) {
    const struct {
        CertificateFiles files;
        std::string cause;
    } cases[] = {
        {authority.issue("right", "IP:127.0.0.1"), "OK"},
        {authority.issue("expired", "IP:127.0.0.1", -1), "certificate has expired"},
        {authority.issue("other", "DNS:other.example"), "certificate is for another host name"},
        {foreign.issue("strange", "IP:127.0.0.1"), "certificate is not of a known authority"},
    };
    for (const auto& example : cases) {
        start(example.files);
        const std::string outcome = outcomeOfLogin(url("ca=" + authority.certificate()), token);
        EXPECT_NE(outcome.find(example.cause), std::string::npos) << outcome;
    }
}

TEST_F(ServerTlsTest, aMachineNeedsItsCertificateAndAUserStillTheSession) {
    start(authority.issue("server", "IP:127.0.0.1"), authority.certificate());
    const std::string ca = "ca=" + authority.certificate();
    const auto with = [&](const CertificateFiles& files) {
        return url(ca + "&cert=" + files.certificate + "&key=" + files.key);
    };
    const CertificateFiles right = authority.issue("machine", "DNS:machine");
    const struct {
        std::string url;
        std::string cause;
    } cases[] = {
        {url(ca), "the server wants a client certificate"},
        {with(foreign.issue("strange", "DNS:machine")),
         "the server does not know the client certificate's authority"},
        {with(authority.issue("expired", "DNS:machine", -1)), "the client certificate has expired"},
        {with(right), "OK"},
    };
    for (const auto& example : cases) {
        const std::string outcome = outcomeOfLogin(example.url, token);
        EXPECT_NE(outcome.find(example.cause), std::string::npos) << outcome;
    }
    const auto client = connect(with(right));
    EXPECT_EQ(codeOf([&] {
                  client->createFileAccess()->listFolder(FolderListRequest(Resource(u"/", u"")));
              }),
              Code::UNAUTHORIZED);
    EXPECT_EQ(codeOf([&] { client->login(LoginRequest().withToken("guess")); }),
              Code::INVALID_TOKEN);
}

}  // namespace
}  // namespace storage::kvxremote
