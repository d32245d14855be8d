#include "host/report.h"

#include <cstdio>

#include "host/animation.h"

namespace host {

namespace {

std::string Rounded(double number, int decimals) {
  char text[64];
  std::snprintf(text, sizeof(text), "%.*f", decimals, number);
  return text;
}

std::string Line(const std::string& name, const std::string& value) {
  constexpr size_t kNameWidth = 18;
  std::string line = "  " + name;
  line.resize(2 + kNameWidth, ' ');
  return line + value + '\n';
}

}  // namespace

std::string ReportText(const RunFigures& figures) {
  const double frames_per_second =
      figures.seconds > 0 ? static_cast<double>(figures.frames_drawn) / figures.seconds : 0.0;
  const LatencyRecord& latency = figures.orientation_latency;

  std::string text = "Ran for " + Rounded(figures.seconds, 1) + " s at " + std::to_string(figures.width) + "x" +
                     std::to_string(figures.height) + ":\n";
  text +=
      Line("frames drawn", std::to_string(figures.frames_drawn) + ", " + Rounded(frames_per_second, 1) + " per second");
  text += Line("frames fetched", std::to_string(figures.frames_fetched));
  text += Line("commands sent", std::to_string(figures.commands_sent));
  text += Line("command latency", latency.count() == 0
                                      ? "no orientation was sent"
                                      : "median " + Rounded(latency.MedianMilliseconds(), 3) + " ms, worst " +
                                            Rounded(latency.WorstMilliseconds(), 3) + " ms, of " +
                                            std::to_string(latency.count()) + " orientations");
  text += Line("set-up", "createTexture " + Rounded(figures.create_texture_ms, 1) + " ms, loadModel " +
                             Rounded(figures.load_model_ms, 1) + " ms");
  if (!figures.files) return text;

  const Recorder::Files& files = *figures.files;
  text += Line("files written",
               files.stills.front() + (files.stills.size() > 1 ? " to " + files.stills.back() : std::string()));
  text += Line("", files.contact_sheet);
  text += Line("", files.animation + (files.animation_cut_off
                                          ? " (the first " + Rounded(Animation::kLongest_s, 0) + " s of the run)"
                                          : std::string()));
  if (!figures.log_path.empty()) text += Line("", figures.log_path + " (the plug-in's own lines)");
  if (files.frames_left_out > 0) {
    text += Line("left out", std::to_string(files.frames_left_out) + " frames that the encoder had no time for");
  }
  return text;
}

}  // namespace host
