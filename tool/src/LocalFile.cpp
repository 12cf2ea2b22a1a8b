#include "LocalFile.h"

#include <fcntl.h>

#include <cerrno>
#include <exception>
#include <system_error>

#include "Failure.h"
#include "Interruption.h"

namespace storage::kvxtool {

int openFile(const std::filesystem::path& path, int flags) {
    for (;;) {
        const int file = open(path.c_str(), flags | O_CLOEXEC);
        if (file >= 0 || errno != EINTR) {
            return file;
        }
        Interruption::check();
    }
}

void throwFileError(const std::string& name, int error) {
    throw Failure::of(name,
                      std::make_exception_ptr(std::system_error(error, std::generic_category())));
}

}  // namespace storage::kvxtool
