// One counter for each kind of resource. The calls that open and close resources count here, on any thread.
#include "core/Counts.h"

#include <array>
#include <atomic>

namespace platform {
namespace {

std::array<std::atomic<std::size_t>, static_cast<std::size_t>(Open::Variants) + 1> counts;

std::atomic<std::size_t>& counter(Open kind) {
    return counts[static_cast<std::size_t>(kind)];
}

}  // namespace

void countOpened(Open kind) {
    ++counter(kind);
}

std::size_t countClosed(Open kind) {
    return --counter(kind);
}

std::size_t countOf(Open kind) {
    return counter(kind);
}

}  // namespace platform
