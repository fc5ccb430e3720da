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
thread_local bool spared = false;
thread_local std::size_t refuseFrom = 0;
// Whether there is an end to what is granted, and how many requests still are.
thread_local bool limitedHere = false;
thread_local std::int64_t leftHere = 0;
std::atomic<bool> limitedElsewhere{false};
std::atomic<std::int64_t> leftElsewhere{0};

bool Grants() {
    const bool here = !limitedHere || leftHere-- > 0;
    const bool elsewhere = spared || !limitedElsewhere || leftElsewhere-- > 0;
    return here && elsewhere;
}

}  // namespace

std::uint64_t CountedAllocations() { return counted.load(); }
void ResetCountedAllocations() { counted.store(0); }
void CountAllocationsHere(bool on) { counting = on; }
void CountAllocationsElsewhere(bool on) {
    spared = on;
    countingAll = on;
}
void RefuseAllocationsHere(std::size_t bytes) { refuseFrom = bytes; }
void RefuseAllocationsHereFrom(std::uint64_t nth) {
    leftHere = static_cast<std::int64_t>(nth) - 1;
    limitedHere = nth != 0;
}
void RefuseAllocationsElsewhereFrom(std::uint64_t nth) {
    spared = nth != 0;
    leftElsewhere = static_cast<std::int64_t>(nth) - 1;
    limitedElsewhere = nth != 0;
}

static void* Allocate(std::size_t size) {
    if (callDepth == 0) {
        if (counting || (countingAll && !spared)) {
            counted.fetch_add(1);
        }
        if (!Grants() || (refuseFrom != 0 && size >= refuseFrom)) {
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
// Declared by the library with a body that calls the plain form, but a sanitizer brings one of its own.
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
