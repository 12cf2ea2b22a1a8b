#include "Certificates.h"

#include <cstdlib>
#include <stdexcept>

namespace storage::kvxremote {

namespace {

void runOpenssl(const std::string& arguments) {
    if (std::system(("openssl " + arguments + " 2>/dev/null").c_str()) != 0) {
        throw std::runtime_error("openssl " + arguments + " fails");
    }
}

}  // namespace

Authority::Authority(const TemporaryFolder& folder, const std::string& name)
    : folder_(folder), files_{folder / (name + ".pem"), folder / (name + ".key")} {
    runOpenssl(
        "req -x509 -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -days 2 -subj /CN=" +
        name + " -keyout " + files_.key + " -out " + files_.certificate);
}

CertificateFiles Authority::issue(const std::string& name, const std::string& host,
                                  int days) const {
    const CertificateFiles files{folder_ / (name + ".pem"), folder_ / (name + ".key")};
    const std::string request = folder_ / (name + ".csr");
    runOpenssl("req -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes -subj /CN=" + name +
               " -addext subjectAltName=" + host + " -keyout " + files.key + " -out " + request);
    runOpenssl("x509 -req -copy_extensions copy -in " + request + " -CA " + files_.certificate +
               " -CAkey " + files_.key + " -CAcreateserial -days " + std::to_string(days) +
               " -out " + files.certificate);
    return files;
}

}  // namespace storage::kvxremote
