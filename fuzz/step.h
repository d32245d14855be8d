#ifndef FUZZ_STEP_H_
#define FUZZ_STEP_H_

#include <cstdint>

namespace fuzz {

/// The byte with which a step of an input of the target "method_call" begins; below kFirstFailure, and not
/// kFetchFrame, it is the length of a message that follows.
enum Step : uint8_t {
  kFetchFrame = 0,      // the engine fetches a frame, then the render thread draws the next one
  kFirstFailure = 224,  // the next graphics call that can fail fails; 225: the one after it; ...
};

}  // namespace fuzz

#endif  // FUZZ_STEP_H_
