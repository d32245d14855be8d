#include "test/support/operator_new.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

#include "test/fakes/inside_a_fake.h"

namespace {

// The sanitizers' malloc would end the program for a size that the C library's just refuses.
constexpr size_t kNoLimit = PTRDIFF_MAX;

std::atomic<size_t> g_limit{kNoLimit};

thread_local long t_count = 0;
thread_local long t_balance = 0;
thread_local long t_bytes = 0;
thread_local long t_peak = 0;         // of t_bytes
thread_local int t_before_fault = 0;  // how many allocations it is to the one that fails; 0: none does
thread_local operator_new::Fault::Extent t_extent = operator_new::Fault::kOnce;
thread_local bool t_happened = false;
thread_local operator_new::Watch* t_watches = nullptr;  // the latest, which knows the one before

bool FailsNow() {
  if (fakes::IsInsideAFake()) return false;
  ++t_count;
  if (t_before_fault == 0) return false;
  if (t_before_fault > 1) {
    --t_before_fault;
    return false;
  }
  if (t_extent == operator_new::Fault::kOnce) t_before_fault = 0;
  t_happened = true;
  return true;
}

void* Allocate(size_t size) noexcept {
  if (FailsNow() || size > g_limit.load(std::memory_order_relaxed)) return nullptr;
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) return nullptr;
  ++t_balance;
  t_bytes += static_cast<long>(malloc_usable_size(block));
  t_peak = std::max(t_peak, t_bytes);
  return block;
}

void Release(void* block) noexcept {
  if (block == nullptr) return;
  --t_balance;
  t_bytes -= static_cast<long>(malloc_usable_size(block));
  operator_new::Watch::Note(block);
  std::free(block);
}

void* AllocateOrThrow(size_t size) {
  void* const block = Allocate(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

}  // namespace

namespace operator_new {

long CountOnThisThread() { return t_count; }
long BalanceOnThisThread() { return t_balance; }

Fault::Fault(int nth, Extent extent) {
  t_before_fault = nth;
  t_extent = extent;
  t_happened = false;
}
Fault::~Fault() { t_before_fault = 0; }
bool Fault::happened() const { return t_happened; }

Limit::Limit(size_t bytes) { g_limit = bytes; }
Limit::~Limit() { g_limit = kNoLimit; }

Peak::Peak() : before_(t_bytes) { t_peak = t_bytes; }
size_t Peak::bytes() const { return static_cast<size_t>(t_peak - before_); }

Watch::Watch(const void* block) : block_(block), next_(t_watches) { t_watches = this; }
Watch::~Watch() { t_watches = next_; }
void Watch::Note(const void* block) {
  for (Watch* watch = t_watches; watch != nullptr; watch = watch->next_) {
    if (watch->block_ == block) watch->released_ = true;
  }
}

}  // namespace operator_new

#pragma GCC visibility push(default)

void* operator new(size_t size) { return AllocateOrThrow(size); }
void* operator new[](size_t size) { return AllocateOrThrow(size); }
void* operator new(size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* block) noexcept { Release(block); }
void operator delete[](void* block) noexcept { Release(block); }
void operator delete(void* block, size_t) noexcept { Release(block); }
void operator delete[](void* block, size_t) noexcept { Release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { Release(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { Release(block); }

#pragma GCC visibility pop
