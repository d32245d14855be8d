#ifndef HOST_OPTIONS_H_
#define HOST_OPTIONS_H_

#include <optional>
#include <string>

#include "host/command_line.h"
#include "host/orientation.h"

namespace host {

/// What the command line asks for.
struct Options {
  static constexpr int kLargestSide = 4096;
  static constexpr int kMostFrames = 100;

  std::string model;
  std::string imu;  // a CSV file; "-": standard input

  int width = 640;
  int height = 480;
  std::optional<double> distance;  // none: as the plug-in has it
  std::optional<double> scale;     // none: as the plug-in has it
  std::optional<Angles> base;      // none: as the plug-in has it

  std::optional<double> seconds;  // none: as long as the IMU run
  bool window = false;
  double wait_s = 60.0;  // for a frame, where the plug-in draws none

  std::string out = "out";
  int frames = 12;
  bool verbose = false;
  std::string plugin;  // empty: beside this program
};

/// Reads the command line. `display_present` decides between window and pictures when it says neither.
///
/// Failure  OptionsExit.
Options ParseOptions(int argc, const char* const* argv, bool display_present);

}  // namespace host

#endif  // HOST_OPTIONS_H_
