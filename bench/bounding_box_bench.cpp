// The bounding box that every frame takes anew from all vertices, against the loop that compares one coordinate after
// the other.

#include <benchmark/benchmark.h>

#include <cstring>
#include <random>

#include "test/plugin/simple_model_fit.h"

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

void Fit(benchmark::State& state, ModelFit (*fit)(const GLBModel&)) {
  const GLBModel model = RandomModel(static_cast<size_t>(state.range(0)));
  const ModelFit expected = SimpleModelFit(model);
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
    benchmark::RegisterBenchmark((row + "simple loop").c_str(), Fit, SimpleModelFit)->Arg(vertices);
  }
  return true;
}();

}  // namespace
