#ifndef FUZZ_SHORT_MEMORY_H_
#define FUZZ_SHORT_MEMORY_H_

#include <cstddef>

namespace fuzz {

/// While it lives, every `new` of more than `limit` bytes throws std::bad_alloc, on any thread: sizes that a message
/// may claim, such as a texture's, are refused before they cost time.
class ShortMemory {
 public:
  explicit ShortMemory(size_t limit);
  ~ShortMemory();
  ShortMemory(const ShortMemory&) = delete;
  ShortMemory& operator=(const ShortMemory&) = delete;
};

}  // namespace fuzz

#endif  // FUZZ_SHORT_MEMORY_H_
