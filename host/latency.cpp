#include "host/latency.h"

#include <algorithm>
#include <cmath>

namespace host {

void LatencyRecord::Add(std::chrono::nanoseconds latency) {
  const double octaves = std::log2(std::max(static_cast<double>(latency.count()) / kLowest_ns, 1.0));
  const auto bin = static_cast<size_t>(octaves * kBinsPerOctave);
  ++bins_[std::min(bin, kBins - 1)];
  ++count_;
  worst_ = std::max(worst_, latency);
}

double LatencyRecord::MedianMilliseconds() const {
  if (count_ == 0) return 0.0;
  uint64_t up_to_here = 0;
  size_t bin = 0;
  for (; bin + 1 < kBins; ++bin) {
    up_to_here += bins_[bin];
    if (2 * up_to_here >= count_) break;
  }
  const double middle_of_bin = (static_cast<double>(bin) + 0.5) / kBinsPerOctave;
  return std::min(kLowest_ns * std::exp2(middle_of_bin) / 1e6, WorstMilliseconds());
}

double LatencyRecord::WorstMilliseconds() const { return static_cast<double>(worst_.count()) / 1e6; }

}  // namespace host
