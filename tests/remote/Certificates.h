#pragma once

#include <string>

#include "Kvxd.h"

namespace storage::kvxremote {

/// A certificate and its key, PEM files.
struct CertificateFiles {
    std::string certificate;
    std::string key;
};

/// Vouches for certificates, which are good for two days.
class Authority {
public:
    Authority(const TemporaryFolder& folder, const std::string& name);

    const std::string& certificate() const { return files_.certificate; }
    /// Makes one for a host, "DNS:a" or "IP:127.0.0.1".
    CertificateFiles issue(const std::string& name, const std::string& host, int days = 2) const;

private:
    const TemporaryFolder& folder_;
    const CertificateFiles files_;
};

}  // namespace storage::kvxremote
