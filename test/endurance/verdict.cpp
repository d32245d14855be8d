#include "test/endurance/verdict.h"

#include <algorithm>

namespace endurance {

namespace {

// By how much the plug-in's heap grows more than the bare program's in the tenth in the middle of the order.
long MedianHeapExcess(const std::vector<Sample>& plugin, const std::vector<Sample>& bare) {
  std::vector<long> excesses;
  for (size_t i = 1; i < plugin.size(); ++i) {
    excesses.push_back(Growth(plugin[i - 1], plugin[i]).heap_kb - Growth(bare[i - 1], bare[i]).heap_kb);
  }
  const auto middle = excesses.begin() + static_cast<std::ptrdiff_t>(excesses.size() / 2);
  std::nth_element(excesses.begin(), middle, excesses.end());
  return *middle;
}

}  // namespace

ProcessFigures Growth(const Sample& from, const Sample& to) {
  return {to.figures.resident_kb - from.figures.resident_kb, to.figures.heap_kb - from.figures.heap_kb,
          to.figures.descriptors - from.figures.descriptors, to.figures.threads - from.figures.threads};
}

std::vector<std::string> Objections(const std::vector<Sample>& plugin, const std::vector<Sample>& bare) {
  if (plugin.size() < 2 || plugin.size() != bare.size()) return {"there are too few samples to compare"};
  std::vector<std::string> objections;
  const auto check = [&objections](long value, long allowed, const std::string& what) {
    if (value <= allowed) return;
    objections.push_back(what + ": " + std::to_string(value) + ", at most " + std::to_string(allowed) + " allowed");
  };
  const ProcessFigures ours = Growth(plugin.front(), plugin.back());
  const ProcessFigures driver = Growth(bare.front(), bare.back());
  check(MedianHeapExcess(plugin, bare), kHeapToleranceKb, "heap beyond the bare program's, kB in a tenth");
  check(ours.resident_kb - driver.resident_kb,
        kResidentToleranceKb + std::max(driver.resident_kb, 0L) * kResidentTolerancePercent / 100,
        "resident beyond the bare program's, kB");
  check(ours.descriptors, std::max(driver.descriptors, 0), "descriptors more than at first");
  check(ours.threads, std::max(driver.threads, 0), "threads more than at first");
  check(plugin.back().failed_starts, bare.back().failed_starts, "failed starts");
  return objections;
}

}  // namespace endurance
