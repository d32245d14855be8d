#ifndef BENCH_FRAMES_H_
#define BENCH_FRAMES_H_

#include <string>
#include <vector>

/// In pixels.
struct FrameSize {
  int width, height;
};

/// Registers benchmarks of a whole frame, from the viewer's numbers to the pixels in the engine's buffer, against the
/// least that OpenGL needs for the same picture: clear, draw, finish, read back, on the same context. A third
/// contestant adds to the least what a frame must do besides: the pass over all vertices, the zeroed temporary, the
/// rows turned.
///
/// They are named "<what>/<size and vertices>/<contestant>", one for each size and number of vertices; `count_faults`
/// adds the page faults of a frame.
void RegisterFrames(const std::string& what, const std::vector<FrameSize>& sizes,
                    const std::vector<long>& vertex_counts, bool count_faults);

#endif  // BENCH_FRAMES_H_
