#include "test/faults/graphics.h"

#include "test/faults/sanitizers.h"

namespace graphics {

// A renderer takes a driver milliseconds to make, and many more under AddressSanitizer.
int DefaultSequenceCount() { return kAddressSanitizer ? 2'400 : 10'000; }
int SequencesPerPlainRun() { return 10; }

// HACK: glTexImage2D of Mesa 22.3 writes past an array on its own stack from some side between 2^24 and 2^26 on, and
// glibc ends the process: "stack smashing detected".
int32_t LargestSide() { return 1 << 24; }

void Reset() {}
void FillFrames(int, int) {}  // the driver draws

}  // namespace graphics
