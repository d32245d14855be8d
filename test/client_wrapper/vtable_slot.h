#ifndef TEST_CLIENT_WRAPPER_VTABLE_SLOT_H_
#define TEST_CLIENT_WRAPPER_VTABLE_SLOT_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace client_wrapper_test {

/// The place of a virtual operation in its class's table. A virtual destructor that comes first takes 0
/// and 1.
///
/// A pointer to a virtual member function holds the offset into the table (Itanium C++ ABI): in its first
/// word, with 1 added to tell it from an address; on ARM unchanged, with the mark in the second word.
template <typename Operation>
size_t VtableSlot(Operation operation) {
  uintptr_t words[2] = {};
  static_assert(sizeof operation == sizeof words, "a pointer to a member function");
  std::memcpy(words, &operation, sizeof words);
  return static_cast<size_t>(words[0] & ~uintptr_t{1}) / sizeof(void*);
}

}  // namespace client_wrapper_test

#endif  // TEST_CLIENT_WRAPPER_VTABLE_SLOT_H_
