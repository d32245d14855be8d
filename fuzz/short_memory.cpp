#include "fuzz/short_memory.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

std::atomic<size_t> g_limit{SIZE_MAX};

void* Allocate(size_t size) noexcept { return size > g_limit ? nullptr : std::malloc(size); }

}  // namespace

// All forms: the sanitizer's own ones, which would stay in place for the rest, do not go together with these. None is
// inlined: the compiler would take the free() in one for the wrong end of another.
#define FUZZ_NOINLINE __attribute__((noinline))

FUZZ_NOINLINE void* operator new(size_t size) {
  void* const block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
FUZZ_NOINLINE void* operator new[](size_t size) { return operator new(size); }
FUZZ_NOINLINE void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
FUZZ_NOINLINE void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }

FUZZ_NOINLINE void operator delete(void* block) noexcept { std::free(block); }
FUZZ_NOINLINE void operator delete[](void* block) noexcept { std::free(block); }
FUZZ_NOINLINE void operator delete(void* block, size_t) noexcept { std::free(block); }
FUZZ_NOINLINE void operator delete[](void* block, size_t) noexcept { std::free(block); }
FUZZ_NOINLINE void operator delete(void* block, const std::nothrow_t&) noexcept { std::free(block); }
FUZZ_NOINLINE void operator delete[](void* block, const std::nothrow_t&) noexcept { std::free(block); }

namespace fuzz {

ShortMemory::ShortMemory(size_t limit) { g_limit = limit; }
ShortMemory::~ShortMemory() { g_limit = SIZE_MAX; }

}  // namespace fuzz
