#include "support/Allocations.h"

#include <cstdlib>
#include <new>

constinit thread_local std::size_t allocations::count = 0;
constinit thread_local std::size_t allocations::countLarge = 0;

void* operator new(std::size_t size) {
    ++allocations::count;
    allocations::countLarge += size >= allocations::large;
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept { std::free(memory); }

void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
