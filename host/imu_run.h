// IMU samples in CSV: what a recorded run or a live sensor sends.
//
//   t,qx,qy,qz,qw          t,roll,pitch,yaw          a header names the columns, in any order
//   0.00,0,0,0,1           0.00,0,0,0                t in seconds; angles in degrees
//   0.01,0.01,0,0,0.99     0.01,1.1,0,-0.5
//
// Further columns are ignored; blank lines and lines that start with # are skipped. Where a header names both
// forms, the quaternion is taken.

#ifndef HOST_IMU_RUN_H_
#define HOST_IMU_RUN_H_

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/orientation.h"

namespace host {

struct ImuSample {
  std::optional<double> seconds;  // as in the file; none where the source has no column t
  Orientation orientation;
};

/// Reads IMU samples line by line.
///
/// Failure  HostError: "<source>, line 7: expected a number for qx, found "abc"".
class ImuLineParser {
 public:
  static constexpr size_t kLongestLine = 65536;  // bytes

  enum class Time {
    kRequired,  // every sample has a time, none before the one above it
    kOptional,  // there may be no column t, and times may be in any order
  };

  /// `source` is what error messages call the input.
  ImuLineParser(std::string source, Time time);

  /// The sample in `line`, which has no newline; none for the header, a blank line and a comment.
  std::optional<ImuSample> Parse(std::string_view line);

  /// To be called at the end of the input: throws when there was no sample.
  void CheckEnd() const;

 private:
  static constexpr size_t kAbsent = static_cast<size_t>(-1);

  void ParseHeader(const std::vector<std::string_view>& names);
  double Number(const std::vector<std::string_view>& fields, size_t column) const;
  [[noreturn]] void Fail(const std::string& expected, const std::string& found) const;

  const std::string source_;
  const Time time_;
  size_t line_number_ = 0;
  size_t sample_count_ = 0;
  std::optional<double> last_seconds_;

  // The header's columns, and where among them those are that matter: qx qy qz qw, or roll pitch yaw.
  std::vector<std::string> columns_;
  size_t time_column_ = kAbsent;
  std::vector<size_t> orientation_columns_;
};

/// Cuts input that comes in pieces into lines, and passes on the samples in them.
///
/// Failure  HostError: a malformed line; one longer than ImuLineParser::kLongestLine as soon as it is, so that a
///          device that never ends its line does not fill the memory; an end without samples.
class ImuLines {
 public:
  /// Takes a sample; false: no more are wanted.
  using Sink = std::function<bool(const ImuSample&)>;

  ImuLines(std::string source, ImuLineParser::Time time, Sink sink)
      : parser_(std::move(source), time), sink_(std::move(sink)) {}

  /// False once the sink wants no more.
  bool Add(std::string_view piece);

  /// The input is over; its last line needs no newline.
  void End();

 private:
  bool Take(std::string_view line);

  ImuLineParser parser_;
  const Sink sink_;
  std::string unfinished_;  // what has come of a line that has no end yet
};

constexpr size_t kLargestImuFile = size_t{256} << 20;  // bytes: nine hours of a sensor that speaks 200 times a second

/// Reads a recorded run, the whole of it, into memory.
///
/// Failure  HostError for a file that cannot be read, is none, or has more than `most_bytes`; a malformed line; no
///          samples.
std::vector<ImuSample> ReadImuRun(const std::string& path, size_t most_bytes = kLargestImuFile);

}  // namespace host

#endif  // HOST_IMU_RUN_H_
