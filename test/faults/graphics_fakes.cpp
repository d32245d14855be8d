#include <cstdint>
#include <limits>
#include <vector>

#include "fake_graphics.h"
#include "test/faults/graphics.h"

namespace graphics {

int DefaultSequenceCount() { return 500; }
int SequencesPerPlainRun() { return 1; }
int32_t LargestSide() { return std::numeric_limits<int32_t>::max(); }
void Reset() { fake_graphics::Reset(); }

void FillFrames(int width, int height) {
  fake_graphics::SetPixels(std::vector<uint8_t>(static_cast<size_t>(width) * static_cast<size_t>(height) * 4, 7));
}

}  // namespace graphics
