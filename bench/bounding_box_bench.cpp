// The bounding box that every frame takes anew from all vertices, against the loop that compares one coordinate after
// the other.

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

#include "plugin/scene_transform.h"

namespace {

// One mesh of so many vertices, somewhere in a cube.
GLBModel RandomModel(size_t vertices) {
  std::mt19937 engine(1);
  GLBModel model;
  model.meshes.resize(1);
  for (size_t i = 0; i < vertices * 3; ++i) {
    model.meshes[0].positions.push_back(static_cast<float>(engine()) / 4294967296.0f - 0.5f);
  }
  return model;
}

ModelFit SimpleFit(const GLBModel& model) {
  std::array<float, 3> low = {1e30f, 1e30f, 1e30f};
  std::array<float, 3> high = {-1e30f, -1e30f, -1e30f};
  for (const MeshData& mesh : model.meshes) {
    for (size_t i = 0; i + 2 < mesh.positions.size(); i += 3) {
      for (size_t axis = 0; axis < 3; ++axis) {
        const float coordinate = mesh.positions[i + axis];
        if (coordinate < low[axis]) low[axis] = coordinate;
        if (coordinate > high[axis]) high[axis] = coordinate;
      }
    }
  }
  const float extent = std::max({high[2] - low[2], high[1] - low[1], high[0] - low[0]});
  return {{(low[0] + high[0]) * 0.5f, (low[1] + high[1]) * 0.5f, (low[2] + high[2]) * 0.5f}, 1.5f / extent};
}

void Fit(benchmark::State& state, ModelFit (*fit)(const GLBModel&)) {
  const GLBModel model = RandomModel(static_cast<size_t>(state.range(0)));
  const ModelFit expected = SimpleFit(model);
  const ModelFit got = fit(model);
  if (std::memcmp(&got, &expected, sizeof got) != 0) return state.SkipWithError("another box");
  for (auto _ : state) benchmark::DoNotOptimize(fit(model));
  state.counters["ns/vertex"] =
      benchmark::Counter(static_cast<double>(state.range(0)) * 1e-9,
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

const bool g_registered = [] {
  for (const long vertices : {1'000, 50'000, 500'000}) {
    const std::string row = "bounding box/" + std::to_string(vertices) + " vertices/";
    benchmark::RegisterBenchmark((row + "orbisk").c_str(), Fit, FitModel)->Arg(vertices);
    benchmark::RegisterBenchmark((row + "simple loop").c_str(), Fit, SimpleFit)->Arg(vertices);
  }
  return true;
}();

}  // namespace
