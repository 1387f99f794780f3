// Counts calls of operator new of the whole program. Include in one source of a benchmark only.
#pragma once

#include <atomic>
#include <cstdlib>
#include <new>

namespace vantoscope::bench {

inline std::atomic<long> allocations{0};

}  // namespace vantoscope::bench

// NOLINTBEGIN: replacing the global operators is the point. Inlined, g++ would see free meet new.
[[gnu::noinline]] void* operator new(std::size_t size) {
  vantoscope::bench::allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* memory = std::malloc(size)) return memory;
  throw std::bad_alloc();
}
[[gnu::noinline]] void* operator new[](std::size_t size) { return operator new(size); }
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
// NOLINTEND
