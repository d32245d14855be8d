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

std::string FailureOf(std::vector<const char*> arguments) {
  try {
    ParseWith(std::move(arguments));
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
  constexpr char kSize[] = "--size: expected WIDTHxHEIGHT in pixels, each from 1 to 4096, found ";
  constexpr char kBase[] = "--base-rpy: expected ROLL,PITCH,YAW in degrees, found ";
  const struct {
    std::vector<const char*> arguments;
    std::string failure;
  } kCases[] = {
      {{"--size", "640"}, std::string(kSize) + "\"640\""},
      {{"--size", ""}, std::string(kSize) + "\"\""},
      {{"--size", "x480"}, std::string(kSize) + "\"x480\""},
      {{"--size", "640x"}, std::string(kSize) + "\"640x\""},
      {{"--size", "0x480"}, std::string(kSize) + "\"0x480\""},
      {{"--size", "640x-480"}, std::string(kSize) + "\"640x-480\""},
      {{"--size", "4097x480"}, std::string(kSize) + "\"4097x480\""},
      {{"--size", "99999999999x480"}, std::string(kSize) + "\"99999999999x480\""},
      {{"--size", "640x480x4"}, std::string(kSize) + "\"640x480x4\""},
      {{"--size", "6.4x480"}, std::string(kSize) + "\"6.4x480\""},
      {{"--distance", "far"}, "--distance: expected a number, found \"far\""},
      {{"--distance", "nan"}, "--distance: expected a number, found \"nan\""},
      {{"--scale", "1,5"}, "--scale: expected a number, found \"1,5\""},
      {{"--scale", "1e999"}, "--scale: expected a number, found \"1e999\""},
      {{"--base-rpy", "1,2"}, std::string(kBase) + "\"1,2\""},
      {{"--base-rpy", "1,2,3,4"}, std::string(kBase) + "\"1,2,3,4\""},
      {{"--base-rpy", "1,,3"}, std::string(kBase) + "\"1,,3\""},
      {{"--base-rpy", "1,2,3,"}, std::string(kBase) + "\"1,2,3,\""},
      {{"--seconds", "0"}, "--seconds: expected a number above 0, 1000000 at most, found \"0\""},
      {{"--seconds", "-1"}, "--seconds: expected a number above 0, 1000000 at most, found \"-1\""},
      {{"--seconds", "1e9"}, "--seconds: expected a number above 0, 1000000 at most, found \"1e9\""},
      {{"--wait", "0"}, "--wait: expected a number above 0, 1000000 at most, found \"0\""},
      {{"--frames", "0"}, "--frames: expected a number from 1 to 100, found \"0\""},
      {{"--frames", "101"}, "--frames: expected a number from 1 to 100, found \"101\""},
      {{"--frames", "ten"}, "--frames: expected a number from 1 to 100, found \"ten\""},
      {{"--window", "--headless"}, "--window and --headless exclude each other"},
      {{"--colour"}, "The following argument was not expected: --colour"},
      {{"more"}, "The following argument was not expected: more"},
  };
  for (const auto& c : kCases) EXPECT_EQ(FailureOf(c.arguments), c.failure);
}

TEST(Options, ModelAndImuAreRequired) {
  const auto failure_of = [](std::vector<const char*> arguments) -> std::string {
    try {
      Parse(std::move(arguments));
    } catch (const OptionsExit& exit) {
      return exit.what();
    }
    return "no failure";
  };
  EXPECT_EQ(failure_of({}), "--model is required");
  EXPECT_EQ(failure_of({"--model", "device.glb"}), "--imu is required");
  EXPECT_EQ(failure_of({"--imu", "run.csv"}), "--model is required");
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
