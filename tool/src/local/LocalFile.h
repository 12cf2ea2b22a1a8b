#pragma once

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>
#include <vector>

namespace storage::kvxtool {

/// Opens a file as open() does. A pipe waits for its other end, until a signal interrupts it.
int openFile(const std::filesystem::path& path, int flags);

/// The nearest time that system_clock can hold: a time before 1677 or after 2262 becomes the first
/// or the last one.
std::chrono::system_clock::time_point timeOf(const timespec& time);

/// Whether a file is one of the store's files. REQUIRES: the names of all begin with the first
/// one's.
bool belongsToStore(const std::filesystem::path& file,
                    const std::vector<std::filesystem::path>& storeFiles);

/// Throws an error of the system as a Failure with the file's name.
[[noreturn]] void throwFileError(const std::string& name, int error);
/// The same for what cannot be created: the folder to hold it may be missing.
[[noreturn]] void throwCreationError(const std::filesystem::path& path, int error);

}  // namespace storage::kvxtool
