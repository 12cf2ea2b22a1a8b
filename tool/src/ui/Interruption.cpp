#include "ui/Interruption.h"

#include <atomic>

namespace storage::kvxtool {
namespace {

std::atomic<int> living = 0;
std::atomic<int> requested = 0;

}  // namespace

Interruption::Interruption() { ++living; }

Interruption::~Interruption() { --living; }

void Interruption::check() {
    if (const int signal = requested; signal != 0) {
        throw Interrupted(signal);
    }
}

bool Interruption::isRequested() { return requested != 0; }

bool Interruption::request(int signal) {
    if (living == 0) {
        return false;
    }
    requested = signal;
    return true;
}

}  // namespace storage::kvxtool
