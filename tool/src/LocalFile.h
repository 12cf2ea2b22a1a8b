#pragma once

#include <chrono>
#include <ctime>
#include <filesystem>
#include <string>

namespace storage::kvxtool {

/// Opens a file as open() does. A pipe waits for its other end, until a signal interrupts it.
int openFile(const std::filesystem::path& path, int flags);

/// The nearest time that can be told: of those before 1677 and after 2262 the first and the last.
std::chrono::system_clock::time_point timeOf(const timespec& time);

/// Throws an error of the system as a Failure with the file's name.
[[noreturn]] void throwFileError(const std::string& name, int error);

}  // namespace storage::kvxtool
