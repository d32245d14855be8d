// The lines of an IMU run, from a file or a sensor: what is read and what is refused.

#include "host/imu_run.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <sstream>

#include "test/host/failure.h"
#include "test/support/files.h"

namespace host {
namespace {

using Time = ImuLineParser::Time;

std::vector<ImuSample> Parse(const std::string& text, Time time = Time::kRequired) {
  ImuLineParser parser("run.csv", time);
  std::vector<ImuSample> samples;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (const auto sample = parser.Parse(line)) samples.push_back(*sample);
  }
  parser.CheckEnd();
  return samples;
}

std::string FailureOfText(const std::string& text, Time time = Time::kRequired) {
  return FailureOf([&] { Parse(text, time); });
}

void ExpectQuaternion(const Orientation& orientation, double x, double y, double z, double w) {
  ASSERT_TRUE(std::holds_alternative<Quaternion>(orientation));
  const auto& quaternion = std::get<Quaternion>(orientation);
  EXPECT_EQ(quaternion.x, x);
  EXPECT_EQ(quaternion.y, y);
  EXPECT_EQ(quaternion.z, z);
  EXPECT_EQ(quaternion.w, w);
}

void ExpectAngles(const Orientation& orientation, double roll, double pitch, double yaw) {
  ASSERT_TRUE(std::holds_alternative<Angles>(orientation));
  const auto& angles = std::get<Angles>(orientation);
  EXPECT_EQ(angles.roll, roll);
  EXPECT_EQ(angles.pitch, pitch);
  EXPECT_EQ(angles.yaw, yaw);
}

TEST(ImuLineParser, QuaternionsAreReadAsTheyStand) {
  const auto samples = Parse("t,qx,qy,qz,qw\n0.5,0.1,-0.2,3e-1,+4\n0.51,0,0,0,1\n");
  ASSERT_EQ(samples.size(), 2u);
  EXPECT_EQ(samples[0].seconds, 0.5);
  ExpectQuaternion(samples[0].orientation, 0.1, -0.2, 0.3, 4.0);
  EXPECT_EQ(samples[1].seconds, 0.51);
  ExpectQuaternion(samples[1].orientation, 0, 0, 0, 1);
}

TEST(ImuLineParser, AnglesAreReadAsTheyStand) {
  const auto samples = Parse("t,roll,pitch,yaw\n7,10,-20.5,170\n");
  ASSERT_EQ(samples.size(), 1u);
  ExpectAngles(samples[0].orientation, 10, -20.5, 170);
}

TEST(ImuLineParser, ColumnsMayComeInAnyOrderAmongOthers) {
  const auto samples = Parse("qw,temperature,qz,qy,t,qx,note\n1,21.5,0.3,0.2,9,0.1,warm\n");
  ASSERT_EQ(samples.size(), 1u);
  EXPECT_EQ(samples[0].seconds, 9.0);
  ExpectQuaternion(samples[0].orientation, 0.1, 0.2, 0.3, 1);
}

TEST(ImuLineParser, QuaternionIsTakenWhereBothFormsAreThere) {
  const auto samples = Parse("roll,pitch,yaw,t,qx,qy,qz,qw\n1,2,3,0,0.1,0.2,0.3,0.4\n");
  ASSERT_EQ(samples.size(), 1u);
  ExpectQuaternion(samples[0].orientation, 0.1, 0.2, 0.3, 0.4);
}

TEST(ImuLineParser, AnglesAreTakenWhereTheQuaternionIsIncomplete) {
  const auto samples = Parse("t,qx,qy,qz,roll,pitch,yaw\n0,9,9,9,1,2,3\n");
  ASSERT_EQ(samples.size(), 1u);
  ExpectAngles(samples[0].orientation, 1, 2, 3);
}

TEST(ImuLineParser, BlankLinesAndCommentsAreSkipped) {
  const auto samples = Parse("# hand-held\n\n \t\nt,roll,pitch,yaw\n# calibrated\n0,1,2,3\n\n  # moved\n1,4,5,6\n");
  ASSERT_EQ(samples.size(), 2u);
  ExpectAngles(samples[1].orientation, 4, 5, 6);
}

TEST(ImuLineParser, CarriageReturnsSpacesAndByteOrderMarkAreTolerated) {
  const auto samples = Parse("\xEF\xBB\xBFt, roll ,pitch,\tyaw\r\n 0 , 1,2 ,3\r\n\r\n");
  ASSERT_EQ(samples.size(), 1u);
  ExpectAngles(samples[0].orientation, 1, 2, 3);
}

TEST(ImuLineParser, EqualTimesAreAccepted) { EXPECT_EQ(Parse("t,roll,pitch,yaw\n1,0,0,0\n1,0,0,0\n").size(), 2u); }

TEST(ImuLineParser, OptionalTimeMayBeMissingOrGoBack) {
  const auto without = Parse("roll,pitch,yaw\n1,2,3\n", Time::kOptional);
  ASSERT_EQ(without.size(), 1u);
  EXPECT_FALSE(without[0].seconds.has_value());
  EXPECT_EQ(Parse("t,roll,pitch,yaw\n2,0,0,0\n1,0,0,0\n", Time::kOptional).size(), 2u);
}

TEST(ImuLineParser, FailureNamesLineAndWhatWasExpectedAndFound) {
  const std::string kHeader = "t,qx,qy,qz,qw\n";
  const std::string kNoHeader = "expected a header naming t and either qx,qy,qz,qw or roll,pitch,yaw, found ";
  const struct {
    const char* what;
    std::string text;
    std::string failure;  // after the file's name
  } kCases[] = {
      {"nothing at all", "", ": " + kNoHeader + "the end of the input"},
      {"comments only", "# nothing\n\n", ": " + kNoHeader + "the end of the input"},
      {"a header only", kHeader, ": expected samples after the header, found the end of the input"},
      {"no header", "0,0,0,0,1\n", ", line 1: " + kNoHeader + "\"0,0,0,0,1\""},
      {"no time", "qx,qy,qz,qw\n0,0,0,1\n", ", line 1: " + kNoHeader + "\"qx,qy,qz,qw\""},
      {"neither form whole", "# run\nt,qx,qy,qz,roll,pitch\n", ", line 2: " + kNoHeader + "\"t,qx,qy,qz,roll,pitch\""},
      {"capitals", "T,Roll,Pitch,Yaw\n", ", line 1: " + kNoHeader + "\"T,Roll,Pitch,Yaw\""},
      {"a column twice", "t,roll,pitch,yaw,roll\n", ", line 1: expected one column roll, found several"},
      {"too few fields", kHeader + "0,0,0,1\n", ", line 2: expected 5 fields as in the header, found 4"},
      {"too many fields", kHeader + "0,0,0,0,1,\n", ", line 2: expected 5 fields as in the header, found 6"},
      {"a word", kHeader + "0,0,0,0,1\n\n0.1,0,oops,0,1\n", ", line 4: expected a number for qy, found \"oops\""},
      {"an empty field", kHeader + "0,0,0,0,\n", ", line 2: expected a number for qw, found \"\""},
      {"a number and more", kHeader + "0,0,0,0,1m\n", ", line 2: expected a number for qw, found \"1m\""},
      {"not a number", kHeader + "nan,0,0,0,1\n", ", line 2: expected a number for t, found \"nan\""},
      {"infinity", kHeader + "0,inf,0,0,1\n", ", line 2: expected a number for qx, found \"inf\""},
      {"beyond all doubles", kHeader + "0,1e999,0,0,1\n", ", line 2: expected a number for qx, found \"1e999\""},
      {"two signs", kHeader + "0,+-1,0,0,1\n", ", line 2: expected a number for qx, found \"+-1\""},
      {"a decimal comma", kHeader + "0;1;0;0;1\n", ", line 2: expected 5 fields as in the header, found 1"},
      {"time going back", kHeader + "0.5,0,0,0,1\n0.25,0,0,0,1\n",
       ", line 3: expected a time t not before 0.5 s, found 0.25 s"},
      {"control characters", kHeader + "0,\x1b[2J,0,0,1\n", ", line 2: expected a number for qx, found \"?[2J\""},
      {"a very long word", kHeader + "0," + std::string(100, 'x') + ",0,0,1\n",
       ", line 2: expected a number for qx, found \"" + std::string(60, 'x') + "...\""},
  };
  for (const auto& c : kCases) EXPECT_EQ(FailureOfText(c.text), "run.csv" + c.failure) << c.what;
}

TEST(ImuLineParser, FailureOfHeaderSaysWhereTimeIsOptional) {
  EXPECT_EQ(FailureOfText("a,b\n", Time::kOptional),
            "run.csv, line 1: expected a header naming either qx,qy,qz,qw or roll,pitch,yaw (and t, if any), found "
            "\"a,b\"");
}

TEST(ReadImuRun, FileIsReadWhole) {
  const TemporaryFolder folder;
  const auto samples = ReadImuRun(folder.Write("run.csv", "t,roll,pitch,yaw\r\n0,1,2,3\r\n0.5,4,5,6"));
  ASSERT_EQ(samples.size(), 2u);
  ExpectAngles(samples[1].orientation, 4, 5, 6);
}

std::string FailureOfFile(const std::string& path, size_t most_bytes = kLargestImuFile) {
  return FailureOf([&] { ReadImuRun(path, most_bytes); });
}

TEST(ReadImuRun, FailureNamesTheFile) {
  const TemporaryFolder folder;
  const std::string bad = folder.Write("bad.csv", "t,roll,pitch,yaw\n0,1,2,x\n");
  EXPECT_EQ(FailureOfFile(bad), bad + ", line 2: expected a number for yaw, found \"x\"");
  EXPECT_EQ(FailureOfFile(folder.PathOf("none.csv")),
            "cannot read the IMU file " + folder.PathOf("none.csv") + ": No such file or directory");
  EXPECT_EQ(FailureOfFile(folder.path()), "cannot read the IMU file " + folder.path() + ": it is a folder");
}

TEST(ReadImuRun, PipesAndDevicesAreNotOpened) {
  const TemporaryFolder folder;
  const std::string pipe = folder.PathOf("pipe");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(FailureOfFile(pipe), "cannot read the IMU file " + pipe +
                                     ": it is a pipe; --imu - reads samples from standard input as they come");
  EXPECT_EQ(FailureOfFile("/dev/zero"),
            "cannot read the IMU file /dev/zero: it is a device; --imu - reads samples from standard input "
            "as they come");
}

TEST(ReadImuRun, FileOfManyPiecesIsReadWhole) {
  const TemporaryFolder folder;
  std::string text = "t,roll,pitch,yaw\n";
  for (int i = 0; i < 20000; ++i) text += std::to_string(i) + "," + std::to_string(i % 7) + ",0,0\n";
  ASSERT_GT(text.size(), 3u * 65536);
  const auto samples = ReadImuRun(folder.Write("run.csv", text), text.size());
  ASSERT_EQ(samples.size(), 20000u);
  for (size_t i = 0; i < samples.size(); ++i) {
    ASSERT_EQ(samples[i].seconds, static_cast<double>(i));
    ASSERT_EQ(std::get<Angles>(samples[i].orientation).roll, static_cast<double>(i % 7));
  }
}

TEST(ReadImuRun, FileBeyondTheLargestIsRefused) {
  const TemporaryFolder folder;
  const std::string text = "t,roll,pitch,yaw\n0,1,2,3\n";
  const std::string path = folder.Write("run.csv", text);
  EXPECT_EQ(FailureOfFile(path, text.size()), "no failure");
  EXPECT_EQ(FailureOfFile(path, text.size() - 1), "cannot read the IMU file " + path +
                                                      ": it has more than 24 bytes; --imu - < " + path +
                                                      " plays a run of any length");
}

TEST(ReadImuRun, LineWithoutEndIsRefusedBeforeItIsRead) {
  const TemporaryFolder folder;
  const std::string path = folder.Write("run.csv", "");
  std::filesystem::resize_file(path, kLargestImuFile);  // zeros, which take no room on the disk
  EXPECT_EQ(FailureOfFile(path), path + ", line 1: expected a line of at most 65536 bytes, found a longer one");
}

TEST(ImuLineParser, LongestLineIsRead) {
  const std::string header = "t,roll,pitch,yaw,";
  const std::string longest(ImuLineParser::kLongestLine - header.size(), 'x');
  EXPECT_EQ(Parse(header + longest + "\n0,1,2,3,\n").size(), 1u);
  EXPECT_EQ(FailureOfText(header + longest + "x\n0,1,2,3,\n"),
            "run.csv, line 1: expected a line of at most 65536 bytes, found a longer one");
}

}  // namespace
}  // namespace host
