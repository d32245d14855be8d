#ifndef TEST_FAULTS_GRAPHICS_H_
#define TEST_FAULTS_GRAPHICS_H_

#include <cstdint>

/// What the command sequences are played on: each of the two test programs has its own answer, a real driver or the
/// fakes.
namespace graphics {

/// How many sequences the test plays unless it is told otherwise.
int DefaultSequenceCount();

/// After how many sequences a plain run must draw a frame: always where a renderer costs little.
int SequencesPerPlainRun();

/// The largest side of a texture that may be asked for.
int32_t LargestSide();

/// Before each sequence.
void Reset();

/// Sees to it that frames of this size have pixels which are not all zero.
void FillFrames(int width, int height);

}  // namespace graphics

#endif  // TEST_FAULTS_GRAPHICS_H_
