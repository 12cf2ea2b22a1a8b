#include <storage/kvxclient.h>
#include <iostream>

using namespace storage::kvxclient;

// A transport that knows one version list.
struct Versions : IVersioning {
    using IVersioning::listVersions;
    using IVersioning::restoreVersion;
    void listVersions(VersionListRequest request,
                      CompletionHandler<VersionListResponse> handler) const override {
        handler(VersionListResponse().withName(request.getResource().getPath()), nullptr);
    }
    void restoreVersion(VersionRestoreRequest,
                        CompletionHandler<VersionRestoreResponse> handler) const override {
        handler({}, std::make_exception_ptr(KVXClientException(KVXClientErrorCode::CONFLICT)));
    }
};

int main() {
    const Resource resource(u"/a b", u"bucket");
    const Versions versions;
    try {
        versions.restoreVersion(resource);
    } catch (const KVXClientException& error) {
        const bool good = versions.listVersions(resource).getName() == u"/a b" &&
                          error.getErrorCode() == KVXClientErrorCode::CONFLICT;
        std::cout << resource.getAsciiPercentEncodedPath() << '\n';
        return good ? 0 : 1;
    }
    return 1;
}
