// One lookup in the JSON text that has nearly everything in front of it, the last mesh's last accessor, against memchr
// passing over the same bytes in search of one that never comes.

#include <benchmark/benchmark.h>

#include <cstring>

#include "bench/generated_models.h"
#include "model/json_scanning.h"

namespace {

// All the text that the lookup passes, and the accessor that it finds at the end of it.
struct Lookup {
  std::string passed;
  int index;
  std::string accessor;
};

Lookup LastAccessor(const ModelShape& shape) {
  const std::string& json = Generated(shape).json;
  const size_t end = json.find("}]", json.find("\"accessors\"")) + 1;  // the bounds' arrays close with a number
  const size_t start = json.rfind('{', end);
  const size_t accessors_per_mesh = shape.normals ? 3 : 2;
  return {json.substr(0, end), static_cast<int>(shape.mesh_count * accessors_per_mesh) - 1,
          json.substr(start, end - start)};
}

void ScanWithOrbisk(benchmark::State& state, const Lookup& lookup) {
  std::string element;
  if (!json_scanning::get_array_element_object(lookup.passed, "accessors", lookup.index, element) ||
      element != lookup.accessor) {
    return state.SkipWithError("another accessor");
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(
        json_scanning::get_array_element_object(lookup.passed, "accessors", lookup.index, element));
  }
}

void ScanWithMemchr(benchmark::State& state, const Lookup& lookup) {
  const std::string& passed = lookup.passed;
  if (std::memchr(passed.data(), '\0', passed.size()) != nullptr) return state.SkipWithError("a zero byte");
  for (auto _ : state) {
    benchmark::DoNotOptimize(passed.data());
    benchmark::ClobberMemory();
    benchmark::DoNotOptimize(std::memchr(passed.data(), '\0', passed.size()));
  }
}

void Register(const ModelShape& shape, const char* contestant, void (*scan)(benchmark::State&, const Lookup&)) {
  benchmark::RegisterBenchmark(("scan/" + NameOf(shape) + "/" + contestant).c_str(), [=](benchmark::State& state) {
    const Lookup lookup = LastAccessor(shape);
    scan(state, lookup);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * lookup.passed.size()));
  });
}

const bool g_registered = [] {
  for (const ModelShape& shape : {ModelShape{100, 1'000, true}, ModelShape{2'000, 100, true}}) {
    Register(shape, "orbisk", ScanWithOrbisk);
    Register(shape, "memchr", ScanWithMemchr);
  }
  return true;
}();

}  // namespace
