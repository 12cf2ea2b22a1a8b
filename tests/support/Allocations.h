#pragma once

#include <cstddef>

// What operator new was asked for on this thread; tests set the counts back.
namespace allocations {

constexpr std::size_t large = 1 << 20;
extern constinit thread_local std::size_t count;
extern constinit thread_local std::size_t countLarge;

}  // namespace allocations
