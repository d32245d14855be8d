#include "host/options.h"

#include <CLI/CLI.hpp>

#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>
#include <vector>

namespace host {

namespace {

constexpr char kDescription[] =
    "orbisk_host shows a 3D model of a device turned by an IMU, without a Flutter application:\n"
    "it loads the Orbisk plug-in as Flutter's embedder would, sends it a recorded IMU run or\n"
    "the samples of a live sensor, and shows its texture in a window or writes it as pictures.\n";

constexpr char kFooter[] = R"(
The IMU file is CSV. Its first line names the columns, in any order: t (seconds), and either
qx,qy,qz,qw (a quaternion, qw the scalar) or roll,pitch,yaw (degrees). Other columns are ignored,
and so are blank lines and lines that start with #. Where both forms are there, the quaternion
counts.

    t,qx,qy,qz,qw             t,roll,pitch,yaw
    0.00,0,0,0,1              0.00,0,0,0
    0.01,0.0087,0,0,0.99996   0.01,1.0,0,-0.5

Each sample is sent at its own time, counted from the first one. From standard input samples may
come without a column t; they are then sent as they come. A file has 256 MiB at most, a line 64 KiB.

Window: Esc or q quits, space takes the orientation of this moment as level, r takes that back.
A recorded run repeats until the window is closed, unless --seconds is given.

Pictures: DIR/frame_01.png and so on (transparent where the model is not), DIR/contact_sheet.png,
and DIR/orientation.webp, an animation for a browser (of the first minute of a longer run). The
first picture is there as soon as something is drawn, the others at the end. Ctrl-C ends a run
early, and so does closing the terminal; the pictures are written all the same.

Examples:
    orbisk_host --model assets/device.glb --imu assets/imu_run.csv
    orbisk_host --model assets/device.glb --imu assets/imu_run.csv --headless --out pictures
    read_sensor | orbisk_host --model assets/device.glb --imu - --window
)";

// The number that `text` is, from beginning to end.
template <typename T>
std::optional<T> Number(std::string_view text) {
  T number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
  if (text.empty() || end.ec != std::errc() || end.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

std::optional<double> FiniteNumber(std::string_view text) {
  const std::optional<double> number = Number<double>(text);
  return number && std::isfinite(*number) ? number : std::nullopt;
}

[[noreturn]] void Wrong(const std::string& option, const std::string& expected, const std::string& found) {
  throw OptionsExit(option + ": expected " + expected + ", found \"" + found + "\"", false);
}

// A side of the texture in pixels; 0 where `text` is none.
int Side(std::string_view text) {
  const int side = Number<int>(text).value_or(0);
  return side >= 1 && side <= Options::kLargestSide ? side : 0;
}

void TakeSize(const std::string& text, Options* options) {
  const size_t x = text.find('x');
  options->width = Side(std::string_view(text).substr(0, x));
  options->height = x == std::string::npos ? 0 : Side(std::string_view(text).substr(x + 1));
  if (options->width == 0 || options->height == 0) {
    Wrong("--size", "WIDTHxHEIGHT in pixels, each from 1 to " + std::to_string(Options::kLargestSide), text);
  }
}

double TakeNumber(const std::string& option, const std::string& text) {
  const std::optional<double> number = FiniteNumber(text);
  if (!number) Wrong(option, "a number", text);
  return *number;
}

Angles TakeAngles(const std::string& text) {
  std::vector<double> angles;
  std::string_view rest = text;
  for (;;) {
    const size_t comma = rest.find(',');
    const std::optional<double> angle = FiniteNumber(rest.substr(0, comma));
    if (!angle) break;
    angles.push_back(*angle);
    if (comma == std::string_view::npos) {
      if (angles.size() == 3) return {angles[0], angles[1], angles[2]};
      break;
    }
    rest.remove_prefix(comma + 1);
  }
  Wrong("--base-rpy", "ROLL,PITCH,YAW in degrees", text);
}

double TakeSeconds(const std::string& option, const std::string& text) {
  const std::optional<double> seconds = FiniteNumber(text);
  constexpr double kMostSeconds = 1e6;
  if (!seconds || *seconds <= 0 || *seconds > kMostSeconds) {
    Wrong(option, "a number above 0, 1000000 at most", text);
  }
  return *seconds;
}

int TakeFrames(const std::string& text) {
  const std::optional<int> frames = Number<int>(text);
  if (!frames || *frames < 1 || *frames > Options::kMostFrames) {
    Wrong("--frames", "a number from 1 to " + std::to_string(Options::kMostFrames), text);
  }
  return *frames;
}

}  // namespace

Options ParseOptions(int argc, const char* const* argv, bool display_present) {
  Options options;
  CLI::App app(kDescription);
  app.name("orbisk_host");
  app.footer(kFooter);
  app.get_formatter()->column_width(26);
  app.set_help_flag();  // comes last

  // Numbers are taken as text and read here: "nan" is no distance, and messages have one form.
  std::optional<std::string> size, distance, scale, base, seconds, wait, frames;
  app.add_option("--model", options.model,
                 "The model, a binary glTF file (.glb); the plug-in also looks for it\n"
                 "in data/flutter_assets/")
      ->required()
      ->type_name("FILE")
      ->group("Input");
  app.add_option("--imu", options.imu, "The IMU run, CSV (see below); - reads standard input as it comes")
      ->required()
      ->type_name("FILE")
      ->group("Input");

  app.add_option("--size", size,
                 "Size of the texture in pixels (default 640x480). The plug-in draws\n"
                 "for 4:3; other shapes come out stretched")
      ->type_name("WxH")
      ->group("View");
  app.add_option("--distance", distance,
                 "Distance of the camera (default 3.5; the model's longest side is 1.5\n"
                 "times the scale)")
      ->type_name("D")
      ->group("View");
  app.add_option("--scale", scale, "Scale of the model on top of the automatic fit (default 1.2)")
      ->type_name("S")
      ->group("View");
  app.add_option("--base-rpy", base,
                 "Base rotation of the whole scene in degrees (default 0,0,0): yaw about\n"
                 "the view's Z axis, roll about Y, pitch about X")
      ->type_name("R,P,Y")
      ->group("View");

  app.add_flag("--window", options.window, "Show a window (the default when there is a display)")->group("Run");
  bool headless = false;
  app.add_flag("--headless", headless, "Write pictures (the default when there is no display)")->group("Run");
  app.add_option("--seconds", seconds, "End after so many seconds (default: with the last sample)")
      ->type_name("N")
      ->group("Run");
  app.add_option("--wait", wait,
                 "Wait so many seconds for a frame, where the plug-in draws none\n"
                 "(default 60)")
      ->type_name("N")
      ->group("Run");

  app.add_option("--out", options.out, "Folder for the pictures, made if need be (default ./out)")
      ->type_name("DIR")
      ->group("Pictures");
  app.add_option("--frames", frames, "How many single pictures, evenly spaced (default 12)")
      ->type_name("N")
      ->group("Pictures");
  app.add_flag("--verbose", options.verbose,
               "Show the plug-in's own lines; without it they go to DIR/plugin.log\n"
               "while pictures are made")
      ->group("Pictures");

  app.add_option("--plugin", options.plugin, "The plug-in (default: liborbisk_plugin.so beside this program)")
      ->type_name("FILE")
      ->group("Other");
  app.set_help_flag("-h,--help", "Show this text and end")->group("Other");

  ParseCommandLine(app, argc, argv);

  if (options.window && headless) throw OptionsExit("--window and --headless exclude each other", false);
  if (size) TakeSize(*size, &options);
  if (distance) options.distance = TakeNumber("--distance", *distance);
  if (scale) options.scale = TakeNumber("--scale", *scale);
  if (base) options.base = TakeAngles(*base);
  if (seconds) options.seconds = TakeSeconds("--seconds", *seconds);
  if (wait) options.wait_s = TakeSeconds("--wait", *wait);
  if (frames) options.frames = TakeFrames(*frames);
  if (!options.window && !headless) options.window = display_present;
  return options;
}

}  // namespace host
