#ifndef TEST_HOST_PROGRAM_FIXTURE_H_
#define TEST_HOST_PROGRAM_FIXTURE_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "test/host/pictures_on_disk.h"
#include "test/host/process.h"
#include "test/support/files.h"

using Environment = Process::Environment;

inline const std::string kModel = ORBISK_ASSETS "/device.glb";
inline const std::string kImu = ORBISK_ASSETS "/imu_run.csv";
inline const Environment kSurfaceless = {{"EGL_PLATFORM", "surfaceless"}};

/// The command line of the host; an emulator's first where the host is built for another machine.
inline std::vector<std::string> HostCommand(const std::vector<std::string>& arguments) {
  std::vector<std::string> command;
  std::istringstream emulator(ORBISK_EMULATOR);
  for (std::string part; std::getline(emulator, part, ';');) command.push_back(part);
  command.push_back(ORBISK_HOST_PROGRAM);
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

/// Runs orbisk_host as a person runs it, with the built plug-in and the sample files.
class ProgramTest : public ::testing::Test {
 protected:
  using Result = Process::Result;

  Result Run(std::vector<std::string> arguments, const Environment& environment = kSurfaceless,
             const std::string& input = "") {
    return RunCommand(HostCommand(std::move(arguments)), environment, input);
  }
  Result RunCommand(const std::vector<std::string>& command, const Environment& environment,
                    const std::string& input = "") {
    const int file = open(folder_.Write("stdin", input).c_str(), O_RDONLY);
    Result result = Process(folder_, command, environment, file).Wait();
    close(file);
    return result;
  }
  // With model and pictures' folder.
  Result RunImu(const std::string& imu, std::vector<std::string> arguments = {},
                const Environment& environment = kSurfaceless, const std::string& input = "") {
    arguments.insert(arguments.begin(), {"--model", kModel, "--imu", imu, "--out", Out()});
    return Run(std::move(arguments), environment, input);
  }

  std::string Out() const { return folder_.PathOf("pictures"); }

  static void ExpectFailure(const Result& result, const std::string& reason) {
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "orbisk_host: " + reason + "\n");
  }
  // One that has to do with the plug-in, which may have said more.
  void ExpectPluginFailure(const Result& result, const std::string& reason) const {
    ExpectFailure(result, reason + "; the plug-in's own lines are in " + Out() + "/plugin.log");
  }

  std::string Log() const { return ReadFile(Out() + "/plugin.log"); }
  bool Exists(const std::string& name) const { return std::filesystem::exists(Out() + "/" + name); }

  // The whole number after `name` in the report.
  static int Figure(const std::string& report, const std::string& name) {
    const size_t found = report.find(name);
    return found == std::string::npos ? -1 : std::atoi(report.c_str() + found + name.size());
  }

  // The report with DIR for the pictures' folder and # for every number.
  std::string WithoutFigures(std::string report) const {
    for (size_t at; (at = report.find(Out())) != std::string::npos;) report.replace(at, Out().size(), "DIR");
    std::string text;
    for (const char c : report) {
      const bool in_number = !text.empty() && text.back() == '#';
      const bool digit = c >= '0' && c <= '9';
      if (digit && !in_number) text += '#';
      if (!digit && !(c == '.' && in_number)) text += c;
    }
    // The point of "frame_01.png" is not one of a number.
    for (size_t at; (at = text.find("#png")) != std::string::npos;) text.insert(at + 1, ".");
    return text;
  }

  // A run of the sample file's first `samples`, which are a hundred a second.
  std::string BeginningOfTheSampleRun(int samples) const {
    std::istringstream whole(ReadFile(kImu));
    std::string beginning;
    for (std::string line; samples > 0 && std::getline(whole, line);) {
      beginning += line + '\n';
      if (line[0] >= '0' && line[0] <= '9') --samples;
    }
    return folder_.Write("beginning.csv", beginning);
  }

  static std::string StillName(int number) {
    return std::string("frame_") + (number < 10 ? "0" : "") + std::to_string(number) + ".png";
  }

  static bool ShowsTheModel(const std::string& png_path) {
    const PngOnDisk png(png_path);
    int opaque = 0, transparent = 0;
    for (int y = 0; y < png.height(); ++y) {
      for (int x = 0; x < png.width(); ++x) {
        const uint32_t alpha = png.Pixel(x, y) >> 24;
        opaque += alpha == 255;
        transparent += alpha == 0;
      }
    }
    return opaque > png.width() * png.height() / 100 && transparent > png.width() * png.height() / 4;
  }

  TemporaryFolder folder_;
};

#endif  // TEST_HOST_PROGRAM_FIXTURE_H_
