#ifndef HOST_LATENCY_H_
#define HOST_LATENCY_H_

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace host {

/// How long commands took: median and worst of any number of them, in fixed memory.
class LatencyRecord {
 public:
  void Add(std::chrono::nanoseconds latency);

  uint64_t count() const { return count_; }
  /// To within 3 %; 0 without any.
  double MedianMilliseconds() const;
  double WorstMilliseconds() const;

 private:
  // Bin i counts latencies from kLowest_ns * 2^(i / kBinsPerOctave) on, the first one everything below as
  // well, the last one everything above: 100 ns to 100 s.
  static constexpr double kLowest_ns = 100.0;
  static constexpr int kBinsPerOctave = 16;
  static constexpr size_t kBins = 30 * kBinsPerOctave;

  std::array<uint64_t, kBins> bins_ = {};
  uint64_t count_ = 0;
  std::chrono::nanoseconds worst_{0};
};

}  // namespace host

#endif  // HOST_LATENCY_H_
