// The command line.

#include "host/options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace host {
namespace {

using ::testing::HasSubstr;

constexpr bool kNoDisplay = false;
constexpr bool kDisplay = true;

Options Parse(std::vector<const char*> arguments, bool display_present = kNoDisplay) {
  arguments.insert(arguments.begin(), "orbisk_host");
  return ParseOptions(static_cast<int>(arguments.size()), arguments.data(), display_present);
}

Options ParseWith(std::vector<const char*> arguments, bool display_present = kNoDisplay) {
  arguments.insert(arguments.begin(), {"--model", "device.glb", "--imu", "run.csv"});
  return Parse(std::move(arguments), display_present);
}

// What wrong use is told.
std::string FailureOf(std::vector<const char*> arguments,
                      Options (*parse)(std::vector<const char*>, bool) = ParseWith) {
  try {
    parse(std::move(arguments), kNoDisplay);
  } catch (const OptionsExit& exit) {
    EXPECT_FALSE(exit.help());
    return exit.what();
  }
  return "no failure";
}

TEST(Options, DefaultsStandWhereNothingElseIsSaid) {
  const Options options = ParseWith({});
  EXPECT_EQ(options.model, "device.glb");
  EXPECT_EQ(options.imu, "run.csv");
  EXPECT_EQ(options.width, 640);
  EXPECT_EQ(options.height, 480);
  EXPECT_FALSE(options.distance.has_value());
  EXPECT_FALSE(options.scale.has_value());
  EXPECT_FALSE(options.base.has_value());
  EXPECT_FALSE(options.seconds.has_value());
  EXPECT_EQ(options.wait_s, 60);
  EXPECT_EQ(options.out, "out");
  EXPECT_EQ(options.frames, 12);
  EXPECT_FALSE(options.verbose);
  EXPECT_EQ(options.plugin, "");
}

TEST(Options, EveryOptionIsTaken) {
  const Options options =
      Parse({"--model", "m.glb", "--imu",      "-",           "--size",    "320x200",   "--distance", "2.5",
             "--scale", "-1e-1", "--base-rpy", "-90,0.5,180", "--seconds", "0.25",      "--headless", "--wait",
             "1.5",     "--out", "pictures",   "--frames",    "3",         "--verbose", "--plugin",   "lib.so"});
  EXPECT_EQ(options.model, "m.glb");
  EXPECT_EQ(options.imu, "-");
  EXPECT_EQ(options.width, 320);
  EXPECT_EQ(options.height, 200);
  EXPECT_EQ(options.distance, 2.5);
  EXPECT_EQ(options.scale, -0.1);
  ASSERT_TRUE(options.base.has_value());
  EXPECT_EQ(options.base->roll, -90);
  EXPECT_EQ(options.base->pitch, 0.5);
  EXPECT_EQ(options.base->yaw, 180);
  EXPECT_EQ(options.seconds, 0.25);
  EXPECT_FALSE(options.window);
  EXPECT_EQ(options.wait_s, 1.5);
  EXPECT_EQ(options.out, "pictures");
  EXPECT_EQ(options.frames, 3);
  EXPECT_TRUE(options.verbose);
  EXPECT_EQ(options.plugin, "lib.so");
}

TEST(Options, WindowIsTheDefaultWhereThereIsADisplay) {
  EXPECT_TRUE(ParseWith({}, kDisplay).window);
  EXPECT_FALSE(ParseWith({}, kNoDisplay).window);
  EXPECT_FALSE(ParseWith({"--headless"}, kDisplay).window);
  EXPECT_TRUE(ParseWith({"--window"}, kNoDisplay).window);
}

TEST(Options, FailureSaysWhatWasExpectedAndFound) {
  const char* const kSize = "WIDTHxHEIGHT in pixels, each from 1 to 4096";
  const char* const kBase = "ROLL,PITCH,YAW in degrees";
  const char* const kSeconds = "a number above 0, 1000000 at most";
  const char* const kFrames = "a number from 1 to 100";
  const struct {
    const char* option;
    const char* found;
    std::string expected;
  } kCases[] = {
      {"--size", "640", kSize},          {"--size", "", kSize},
      {"--size", "x480", kSize},         {"--size", "640x", kSize},
      {"--size", "0x480", kSize},        {"--size", "640x-480", kSize},
      {"--size", "4097x480", kSize},     {"--size", "99999999999x480", kSize},
      {"--size", "640x480x4", kSize},    {"--size", "6.4x480", kSize},
      {"--distance", "far", "a number"}, {"--distance", "nan", "a number"},
      {"--scale", "1,5", "a number"},    {"--scale", "1e999", "a number"},
      {"--base-rpy", "1,2", kBase},      {"--base-rpy", "1,2,3,4", kBase},
      {"--base-rpy", "1,,3", kBase},     {"--base-rpy", "1,2,3,", kBase},
      {"--seconds", "0", kSeconds},      {"--seconds", "-1", kSeconds},
      {"--seconds", "1e9", kSeconds},    {"--wait", "0", kSeconds},
      {"--frames", "0", kFrames},        {"--frames", "101", kFrames},
      {"--frames", "ten", kFrames},
  };
  for (const auto& c : kCases) {
    EXPECT_EQ(FailureOf({c.option, c.found}),
              std::string(c.option) + ": expected " + c.expected + ", found \"" + c.found + "\"");
  }
}

TEST(Options, WrongUseIsTold) {
  EXPECT_EQ(FailureOf({"--window", "--headless"}), "--window and --headless exclude each other");
  EXPECT_EQ(FailureOf({"--colour"}), "The following argument was not expected: --colour");
  EXPECT_EQ(FailureOf({"more"}), "The following argument was not expected: more");
  EXPECT_EQ(FailureOf({}, Parse), "--model is required");
  EXPECT_EQ(FailureOf({"--model", "device.glb"}, Parse), "--imu is required");
  EXPECT_EQ(FailureOf({"--imu", "run.csv"}, Parse), "--model is required");
}

TEST(Options, HelpExplainsEveryOptionAndTheImuFile) {
  try {
    Parse({"--help"});
    FAIL() << "no help";
  } catch (const OptionsExit& exit) {
    EXPECT_TRUE(exit.help());
    for (const char* part :
         {"--model FILE", "--imu FILE", "--size WxH", "--distance D", "--scale S", "--base-rpy R,P,Y", "--window",
          "--headless", "--seconds N", "--wait N", "--out DIR", "--frames N", "--verbose", "--plugin FILE", "--help",
          "t,qx,qy,qz,qw", "t,roll,pitch,yaw", "plugin.log", "Examples:"}) {
      EXPECT_THAT(exit.what(), HasSubstr(part));
    }
  }
}

}  // namespace
}  // namespace host
