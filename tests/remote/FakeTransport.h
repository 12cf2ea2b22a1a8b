#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "storage/kvxtesting/ScriptedTransport.h"

namespace storage::kvxremote {

namespace operations = kvxtransport::operations;

template <class Operation>
void opensHandles(const kvxtesting::ScriptedTransport& transport) {
    transport.on<Operation>().runs([](const auto& request, const auto& handler) {
        typename Operation::Response response;
        response.withFileHandleId("handle" + request.getResource().getAsciiPercentEncodedPath());
        handler(std::move(response), nullptr);
    });
}

/// A transport that keeps nothing. Each call succeeds at once, unless a test wants otherwise; what
/// is read is zeros, so many for a download, and a session's id is the token of its login.
inline kvxtesting::ScriptedTransport fakeTransport(std::uint64_t downloadSize = 0) {
    const kvxtesting::ScriptedTransport transport;
    transport.on<operations::Login>().runs([](const auto& request, const auto& handler) {
        handler(kvxclient::LoginResponse().withSessionId(request.getToken()), nullptr);
    });
    opensHandles<operations::CreateReadOnlyFileHandle>(transport);
    opensHandles<operations::CreateReadWriteFileHandle>(transport);
    transport.on<operations::ReadFileContent>().runs([](const auto& request, const auto& handler) {
        const std::vector<char> zeros(request.getLength());
        kvxclient::FileContentReadResponse response;
        response.appendContent(zeros.data(), zeros.size());
        handler(std::move(response), nullptr);
    });
    transport.on<operations::CreateFileDownload>().answers(
        kvxclient::FileDownloadCreateResponse().withLocation("location"));
    transport.on<operations::DownloadFile>().runs(
        [downloadSize](const auto& request, const auto& handler) {
            const auto stream = request.getStreamFactory()();
            const std::vector<char> zeros(1UL << 20U);
            for (std::uint64_t left = downloadSize; left > 0 && *stream;) {
                const std::uint64_t size = std::min<std::uint64_t>(left, zeros.size());
                stream->write(zeros.data(), static_cast<std::streamsize>(size));
                left -= size;
            }
            handler({}, nullptr);
        });
    return transport;
}

inline std::unique_ptr<kvxclient::KVXClient> fakeClient(
    const kvxtesting::ScriptedTransport& transport) {
    return std::make_unique<kvxtesting::ScriptedClient>("fake:", transport);
}

}  // namespace storage::kvxremote
