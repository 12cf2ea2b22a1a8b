#include "store/Azurite.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace bench {

Azurite::Azurite(const std::string& installation, const std::string& folder) {
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe to Azurite's client");
    }
    client_ = fork();
    if (client_ == 0) {
        dup2(input[0], STDIN_FILENO);
        dup2(output[1], STDOUT_FILENO);
        execlp("node", "node", AZURITE_CLIENT, installation.c_str(), folder.c_str(), nullptr);
        _exit(127);
    }
    close(input[0]);
    close(output[1]);
    toClient_ = fdopen(input[1], "w");
    fromClient_ = fdopen(output[0], "r");
}

Azurite::~Azurite() {
    std::fclose(toClient_);
    std::fclose(fromClient_);
    waitpid(client_, nullptr, 0);
}

double Azurite::run(const Load& load, double milliseconds) {
    static constexpr const char* kinds[] = {"put",   "get", "range",  "list",
                                            "mixed", "get", "upload", "download"};
    std::fprintf(toClient_, "%s %zu %d %g\n", kinds[load.kind], load.size, load.callers,
                 milliseconds);
    std::fflush(toClient_);
    double time = 0;
    if (std::fscanf(fromClient_, "%lf", &time) != 1) {
        throw std::runtime_error("Azurite's client has ended");
    }
    return time;
}

}  // namespace bench
