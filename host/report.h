#ifndef HOST_REPORT_H_
#define HOST_REPORT_H_

#include <cstdint>
#include <optional>
#include <string>

#include "host/latency.h"
#include "host/recorder.h"

namespace host {

/// What a run came to.
struct RunFigures {
  double seconds = 0.0;
  int width = 0;
  int height = 0;
  uint64_t frames_drawn = 0;
  uint64_t frames_fetched = 0;
  uint64_t commands_sent = 0;
  LatencyRecord orientation_latency;
  double create_texture_ms = 0.0;
  double load_model_ms = 0.0;
  std::optional<Recorder::Files> files;  // none in a window
  std::string log_path;                  // empty: the plug-in's lines went to the terminal
};

/// The report at the end of a run: several lines.
std::string ReportText(const RunFigures& figures);

}  // namespace host

#endif  // HOST_REPORT_H_
