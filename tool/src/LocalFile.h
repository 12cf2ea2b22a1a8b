#pragma once

#include <filesystem>
#include <string>

namespace storage::kvxtool {

/// Opens a file as open() does. A pipe waits for its other end, until a signal interrupts it.
int openFile(const std::filesystem::path& path, int flags);

/// Throws an error of the system as a Failure with the file's name.
[[noreturn]] void throwFileError(const std::string& name, int error);

}  // namespace storage::kvxtool
