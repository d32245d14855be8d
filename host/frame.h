#ifndef HOST_FRAME_H_
#define HOST_FRAME_H_

#include <chrono>
#include <cstdint>
#include <vector>

namespace host {

/// A copy of what the texture showed at one moment.
///
/// Shape    `width * height * 4` bytes: R, G, B, A (not premultiplied), rows packed, top row first.
struct Frame {
  int width = 0;
  int height = 0;
  std::vector<uint8_t> rgba;
  std::chrono::steady_clock::time_point fetched_at;
};

}  // namespace host

#endif  // HOST_FRAME_H_
