// Counts a thread's allocations, and can make them fail. Replaces the global operator new of the test program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zv::fake {

/// Allocations since the last reset on the counted threads, except those of fakes.
std::uint64_t CountedAllocations();
void ResetCountedAllocations();
void CountAllocationsHere(bool on);

/// Counts on all threads except the calling one, for workers that cannot call CountAllocationsHere.
void CountAllocationsElsewhere(bool on);

/// Makes every allocation of at least `bytes` on this thread throw std::bad_alloc, except in fakes; 0 ends it.
void RefuseAllocationsHere(std::size_t bytes);

/// The same for the n-th allocation from now and all later ones, of any size; 0 ends it.
void RefuseAllocationsHereFrom(std::uint64_t nth);
/// The same for all threads except the calling one, which share one count.
void RefuseAllocationsElsewhereFrom(std::uint64_t nth);

}  // namespace zv::fake
