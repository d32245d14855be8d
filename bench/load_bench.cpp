// Loading .glb files, against tinygltf, assimp and the floor: the file read at once and a vector made of each array, by
// somebody who knows beforehand where they lie.
//
// Where a file has no normals, ours are computed while it is loaded; the others leave them out.
//
// The process keeps the memory that it has once used. Otherwise the kernel's handing out of fresh pages decides, and
// whether there are any depends on which benchmark ran before.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <functional>
#include <stdexcept>

#include "bench/generated_models.h"
#include "bench/other_loaders.h"

namespace {

bool AreUnitVectors(const std::vector<float>& normals, size_t size) {
  for (size_t i = 0; i + 2 < normals.size(); i += 3) {
    const float length = std::hypot(normals[i], normals[i + 1], normals[i + 2]);
    if (!(std::abs(length - 1.0f) < 1e-5f)) return false;
  }
  return normals.size() == size;
}

bool Equal(const MeshData& got, const MeshData& expected) {
  if (got.positions != expected.positions || got.indices != expected.indices) return false;
  if (expected.normals.empty() && !got.normals.empty()) return AreUnitVectors(got.normals, got.positions.size());
  return got.normals == expected.normals;
}

bool Equal(const GLBModel& got, const GLBModel& expected) {
  return std::equal(got.meshes.begin(), got.meshes.end(), expected.meshes.begin(), expected.meshes.end(),
                    [](const MeshData& mesh, const MeshData& other) { return Equal(mesh, other); });
}

GLBModel LoadWithOrbisk(const std::string& path) {
  GLBModel model;
  std::string log;
  if (!load_glb_model(path, model, &log)) throw std::runtime_error(log);
  return model;
}

// What is loaded, and what has to come out.
struct Case {
  std::string name;
  std::function<std::string()> path;
  std::function<GLBModel()> content;
};

template <typename Load>
void TimeLoading(benchmark::State& state, const Case& test_case, bool& checked, Load load) {
  if (!checked && !Equal(load(), test_case.content())) return state.SkipWithError("another model");
  checked = true;
  for (auto _ : state) benchmark::DoNotOptimize(load());
}

template <typename Prepare>
void Register(const Case& test_case, const std::string& contestant, Prepare prepare) {
  benchmark::RegisterBenchmark(("load/" + test_case.name + "/" + contestant).c_str(),
                               [=, checked = false](benchmark::State& state) mutable {
                                 TimeLoading(state, test_case, checked, prepare(test_case.path()));
                                 if (contestant == "orbisk")
                                   state.counters["json_bytes"] = JsonLength(test_case.path());
                               })
      ->Unit(benchmark::kMillisecond);
}

void RegisterContestants(const Case& test_case) {
  const auto loading_with = [](GLBModel (*load)(const std::string&)) {
    return [load](const std::string& path) { return [load, path] { return load(path); }; };
  };
  Register(test_case, "orbisk", loading_with(LoadWithOrbisk));
  Register(test_case, "tinygltf", loading_with(LoadWithTinygltf));
  Register(test_case, "assimp", loading_with(LoadWithAssimp));
  Register(test_case, "floor",
           [](const std::string& path) { return [file = Locate(path)] { return LoadLocated(file); }; });
}

const bool g_registered = [] {
  mallopt(M_MMAP_MAX, 0);
  mallopt(M_TRIM_THRESHOLD, INT_MAX);
  const std::string device = ORBISK_ASSETS "/device.glb";
  RegisterContestants({"device.glb", [=] { return device; }, [=] { return LoadWithTinygltf(device); }});
  for (const bool normals : {true, false}) {
    for (const auto& [meshes, vertices] :
         {std::pair<size_t, size_t>{1, 1'000}, {1, 50'000}, {1, 1'000'000}, {30, 2'000}, {100, 1'000}, {2'000, 100}}) {
      const ModelShape shape{meshes, vertices, normals};
      RegisterContestants(
          {NameOf(shape), [=] { return Generated(shape).path; }, [=] { return Generated(shape).content; }});
    }
  }
  return true;
}();

}  // namespace
