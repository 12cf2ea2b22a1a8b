#pragma once

#include <chrono>
#include <ctime>
#include <filesystem>
#include <optional>
#include <string>

namespace storage::kvxtool {

/// Opens a file as open() does. A pipe waits for its other end, until a signal interrupts it.
int openFile(const std::filesystem::path& path, int flags);

/// The nearest time that can be told: of those before 1677 and after 2262 the first and the last.
std::chrono::system_clock::time_point timeOf(const timespec& time);

/// Whether a file is the store's, or its log. Without a store in a file none is.
bool belongsToStore(const std::filesystem::path& file,
                    const std::optional<std::filesystem::path>& store);

/// Throws an error of the system as a Failure with the file's name.
[[noreturn]] void throwFileError(const std::string& name, int error);
/// The same for what cannot be created: the folder to hold it may be missing.
[[noreturn]] void throwCreationError(const std::filesystem::path& path, int error);

}  // namespace storage::kvxtool
