#include "fake/Allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "fake/Calls.h"

namespace zv::fake {
namespace {

std::atomic<std::uint64_t> counted{0};
std::atomic<bool> countingAll{false};
thread_local bool counting = false;
thread_local bool exempt = false;
thread_local std::size_t refuseFrom = 0;
// Whether the number of requests is limited, and how many more are granted.
thread_local bool limitedHere = false;
thread_local std::int64_t leftHere = 0;
std::atomic<bool> limitedElsewhere{false};
std::atomic<std::int64_t> leftElsewhere{0};

bool IsGranted() {
    const bool here = !limitedHere || leftHere-- > 0;
    const bool elsewhere = exempt || !limitedElsewhere || leftElsewhere-- > 0;
    return here && elsewhere;
}

}  // namespace

std::uint64_t CountedAllocations() { return counted.load(); }
void ResetCountedAllocations() { counted.store(0); }
void CountAllocationsHere(bool on) { counting = on; }
void CountAllocationsElsewhere(bool on) {
    exempt = on;
    countingAll = on;
}
void RefuseAllocationsHere(std::size_t bytes) { refuseFrom = bytes; }
void RefuseAllocationsHereFrom(std::uint64_t nth) {
    leftHere = static_cast<std::int64_t>(nth) - 1;
    limitedHere = nth != 0;
}
void RefuseAllocationsElsewhereFrom(std::uint64_t nth) {
    exempt = nth != 0;
    leftElsewhere = static_cast<std::int64_t>(nth) - 1;
    limitedElsewhere = nth != 0;
}

static void* Allocate(std::size_t size) {
    if (callDepth == 0) {
        if (counting || (countingAll && !exempt)) {
            counted.fetch_add(1);
        }
        if (!IsGranted() || (refuseFrom != 0 && size >= refuseFrom)) {
            throw std::bad_alloc();
        }
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

}  // namespace zv::fake

void* operator new(std::size_t size) { return zv::fake::Allocate(size); }
void* operator new[](std::size_t size) { return zv::fake::Allocate(size); }
// The library's version calls the plain form, but a sanitizer replaces it with its own.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    try {
        return zv::fake::Allocate(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
