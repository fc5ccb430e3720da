// Counts what a thread asks of the free store, and can refuse it. Replaces the global operator new of the test program.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zv::fake {

/// Allocations since the last reset on the threads that are counted, those of fakes left out.
std::uint64_t CountedAllocations();
void ResetCountedAllocations();
void CountAllocationsHere(bool on);

/// Counts on every thread but the calling one, for workers that cannot be made to call anything.
void CountAllocationsElsewhere(bool on);

/// From now on this thread gets std::bad_alloc for every request of at least `bytes`; 0 ends it. Fakes are spared.
void RefuseAllocationsHere(std::size_t bytes);

/// The same for the n-th request from now, whatever its size, and all that follow; 0 ends it.
void RefuseAllocationsHereFrom(std::uint64_t nth);
/// For all threads but the calling one, which count together.
void RefuseAllocationsElsewhereFrom(std::uint64_t nth);

}  // namespace zv::fake
