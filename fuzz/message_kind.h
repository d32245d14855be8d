#ifndef FUZZ_MESSAGE_KIND_H_
#define FUZZ_MESSAGE_KIND_H_

#include <cstdint>

namespace fuzz {

/// The byte with which an input of the target "message_decoder" begins; any other stands for kValue.
enum MessageKind : uint8_t {
  kValue = 0,
  kCall = 1,
  kEnvelope = 2,
  kTooDeep = 3,  // a value inside as many lists as may nest
};

}  // namespace fuzz

#endif  // FUZZ_MESSAGE_KIND_H_
