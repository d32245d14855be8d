#include "bench/frames.h"

#include <GLES2/gl2.h>
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <utility>

#include "bench/raw_program.h"
#include "plugin/pixel_texture.h"
#include "plugin/render_thread.h"
#include "plugin/scene_transform.h"
#include "plugin/shaders.h"

namespace {

// A sphere of at least so many vertices, with normals.
MeshData Sphere(size_t vertices) {
  const auto side = static_cast<uint32_t>(std::ceil(std::sqrt(static_cast<double>(vertices))));
  MeshData mesh;
  for (uint32_t row = 0; row < side; ++row) {
    for (uint32_t column = 0; column < side; ++column) {
      const float latitude = kPi * static_cast<float>(row) / static_cast<float>(side - 1);
      const float longitude = 2 * kPi * static_cast<float>(column) / static_cast<float>(side - 1);
      const float normal[3] = {std::sin(latitude) * std::cos(longitude), std::cos(latitude),
                               std::sin(latitude) * std::sin(longitude)};
      mesh.positions.insert(mesh.positions.end(), normal, normal + 3);
      mesh.normals.insert(mesh.normals.end(), normal, normal + 3);
      if (row == 0 || column == 0) continue;
      const uint32_t corner = row * side + column;
      mesh.indices.insert(mesh.indices.end(),
                          {corner - side - 1, corner - 1, corner - side, corner - side, corner - 1, corner});
    }
  }
  return mesh;
}

// The least: a program of its own, everything that can be set once set once.
class RawFrame {
 public:
  RawFrame(const GLBModel& model, int width, int height)
      : mesh_(model.meshes[0]), width_(width), height_(height), pixels_(FrameByteCount(width, height, 4)) {
    program_ = MakeRawProgram();
    glUseProgram(program_);
    const OrbiskState defaults;
    const ModelFit fit = FitModel(model);
    const Matrix4 mvp = ProjectionMatrix() * (ViewMatrix({0, 0, 0}, defaults.camera_distance) *
                                              ModelMatrix({0, 0, 0, 1}, fit.scale * defaults.model_scale, fit.center));
    glUniformMatrix4fv(glGetUniformLocation(program_, "u_mvp"), 1, GL_FALSE, mvp.m.data());
    glUniform3f(glGetUniformLocation(program_, "u_lightDir"), 0.5f, 0.7f, 1.0f);
    glUniform3f(glGetUniformLocation(program_, "u_objectColor"), mesh_.color[0], mesh_.color[1], mesh_.color[2]);
    position_ = static_cast<GLuint>(glGetAttribLocation(program_, "a_position"));
    normal_ = static_cast<GLuint>(glGetAttribLocation(program_, "a_normal"));
  }

  void Draw() { DrawInto(pixels_); }

  // The same with what a frame has to do besides.
  void DrawWithDuties(const GLBModel& model, uint8_t* picture) {
    benchmark::DoNotOptimize(FitModel(model));
    std::vector<uint8_t> temporary(pixels_.size());
    DrawInto(temporary);
    const size_t row_bytes = static_cast<size_t>(width_) * 4;
    const auto rows = static_cast<size_t>(height_);
    for (size_t row = 0; row < rows; ++row) {
      std::memcpy(picture + row * row_bytes, temporary.data() + (rows - 1 - row) * row_bytes, row_bytes);
    }
    benchmark::ClobberMemory();
  }

  // Its picture, the first row at the bottom.
  const std::vector<uint8_t>& pixels() const { return pixels_; }

 private:
  void DrawInto(std::vector<uint8_t>& bottom_up) {
    glUseProgram(program_);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glEnableVertexAttribArray(position_);
    glEnableVertexAttribArray(normal_);
    glVertexAttribPointer(position_, 3, GL_FLOAT, GL_FALSE, 0, mesh_.positions.data());
    glVertexAttribPointer(normal_, 3, GL_FLOAT, GL_FALSE, 0, mesh_.normals.data());
    glDrawElements(GL_TRIANGLES, static_cast<GLsizei>(mesh_.indices.size()), GL_UNSIGNED_INT, mesh_.indices.data());
    glFinish();
    glReadPixels(0, 0, width_, height_, GL_RGBA, GL_UNSIGNED_BYTE, bottom_up.data());
  }

  const MeshData& mesh_;
  const int width_, height_;
  std::vector<uint8_t> pixels_;
  GLuint program_ = 0, position_ = 0, normal_ = 0;
};

long PageFaults() {
  rusage usage = {};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_minflt;
}

bool SamePicture(const std::vector<uint8_t>& bottom_up, const uint8_t* top_down, size_t row_bytes) {
  bool any = false;
  const size_t rows = bottom_up.size() / row_bytes;
  for (size_t row = 0; row < rows; ++row) {
    const uint8_t* other = top_down + (rows - 1 - row) * row_bytes;
    for (size_t i = 0; i < row_bytes; ++i) {
      const int difference = bottom_up[row * row_bytes + i] - other[i];
      if (difference < -1 || difference > 1) return false;
      any = any || other[i] != 0;
    }
  }
  return any;
}

enum Contestant { kOurs, kRaw, kDuties };

void Frame(benchmark::State& state, Contestant contestant, int width, int height, bool count_faults) {
  OrbiskState viewer;
  viewer.model.meshes.push_back(Sphere(static_cast<size_t>(state.range(0))));
  viewer.renderer = std::make_unique<EGLRenderer>();
  if (!viewer.renderer->initialize(width, height, false) ||
      !viewer.renderer->loadShaders(kVertexShader, kFragmentShader)) {
    return state.SkipWithError("no renderer");
  }
  auto* const pixels = const_cast<uint8_t*>(CopyPixelBuffer(&viewer)->buffer);
  {
    RawFrame raw(viewer.model, width, height);
    DrawFrame(viewer);
    raw.Draw();
    if (!SamePicture(raw.pixels(), pixels, static_cast<size_t>(width) * 4))
      return state.SkipWithError("other pictures");

    const auto draw = [&] {
      if (contestant == kOurs) DrawFrame(viewer);
      if (contestant == kRaw) raw.Draw();
      if (contestant == kDuties) raw.DrawWithDuties(viewer.model, pixels);
    };
    for (int i = 0; i < 3; ++i) draw();  // to the steady state
    const long faults_before = PageFaults();
    for (auto _ : state) draw();
    if (count_faults) {
      state.counters["faults"] =
          benchmark::Counter(static_cast<double>(PageFaults() - faults_before), benchmark::Counter::kAvgIterations);
    }
  }
  delete[] pixels;
  viewer.renderer->cleanup();
}

}  // namespace

void RegisterFrames(const std::string& what, const std::vector<FrameSize>& sizes,
                    const std::vector<long>& vertex_counts, bool count_faults) {
  std::freopen("/dev/null", "w", stderr);
  for (const long vertices : vertex_counts) {
    for (const auto& [width, height] : sizes) {
      const std::string row = what + "/" + std::to_string(width) + "x" + std::to_string(height) + " of " +
                              std::to_string(vertices) + " vertices/";
      for (const auto& [name, contestant] :
           {std::pair("orbisk", kOurs), std::pair("raw", kRaw), std::pair("raw and duties", kDuties)}) {
        // The driver draws on threads of its own, which count.
        benchmark::RegisterBenchmark((row + name).c_str(), Frame, contestant, width, height, count_faults)
            ->Arg(vertices)
            ->MeasureProcessCPUTime();
      }
    }
  }
}
