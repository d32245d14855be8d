#ifndef FUZZ_FUZZ_TARGET_H_
#define FUZZ_FUZZ_TARGET_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

/// What libFuzzer, or replay.cpp in its place, calls with one input after the other.
extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace fuzz {

[[noreturn]] void Fail(const char* file, int line, const char* what);

/// What the code under test writes to the standard streams goes nowhere from the first call on, and costs next to
/// nothing; libFuzzer and the sanitizers still get through.
void SilenceStandardStreams();
/// How often it has written something since: once for each line of ours.
size_t SilencedWrites();

/// Reads an input from its front; where it has ended there are zeros.
class Input {
 public:
  Input(const uint8_t* data, size_t size) : data_(data), size_(size) {}

  bool empty() const { return size_ == 0; }

  uint8_t Byte() {
    const std::vector<uint8_t> byte = Bytes(1);
    return byte.empty() ? uint8_t{0} : byte[0];
  }

  /// The next `count` bytes or as many as are left, in a block of exactly their size: the address sanitizer sees every
  /// read past it.
  std::vector<uint8_t> Bytes(size_t count) {
    count = std::min(count, size_);
    const std::vector<uint8_t> bytes(data_, data_ + count);
    data_ += count;
    size_ -= count;
    return bytes;
  }

  std::vector<uint8_t> Rest() { return Bytes(size_); }

 private:
  const uint8_t* data_;
  size_t size_;
};

}  // namespace fuzz

/// Ends the program, in every build, where a property does not hold.
#define FUZZ_REQUIRE(property) ((property) ? void() : fuzz::Fail(__FILE__, __LINE__, #property))

#endif  // FUZZ_FUZZ_TARGET_H_
