#include "host/imu_run.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fstream>
#include <system_error>
#include <utility>

#include "host/files.h"
#include "host/host_error.h"

namespace host {

namespace {

constexpr char kExpectedHeader[] = "a header naming t and either qx,qy,qz,qw or roll,pitch,yaw";
constexpr char kExpectedLiveHeader[] = "a header naming either qx,qy,qz,qw or roll,pitch,yaw (and t, if any)";

std::string_view Trimmed(std::string_view text) {
  constexpr std::string_view kSpace = " \t\r";
  const size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::vector<std::string_view> Fields(std::string_view line) {
  std::vector<std::string_view> fields;
  for (;;) {
    const size_t comma = line.find(',');
    fields.push_back(Trimmed(line.substr(0, comma)));
    if (comma == std::string_view::npos) return fields;
    line.remove_prefix(comma + 1);
  }
}

// `text` in quotes, fit for an error line whatever the file holds.
std::string Quoted(std::string_view text) {
  constexpr size_t kLongest = 60;
  std::string quoted = "\"";
  for (const char c : text.substr(0, kLongest)) {
    quoted += static_cast<unsigned char>(c) < 0x20 || c == 0x7f ? '?' : c;
  }
  return quoted + (text.size() > kLongest ? "...\"" : "\"");
}

std::string Seconds(double seconds) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof(text), seconds);
  return std::string(text, end.ptr) + " s";
}

}  // namespace

ImuLineParser::ImuLineParser(std::string source, Time time) : source_(std::move(source)), time_(time) {}

std::optional<ImuSample> ImuLineParser::Parse(std::string_view line) {
  ++line_number_;
  if (line.size() > kLongestLine) {
    Fail("a line of at most " + std::to_string(kLongestLine) + " bytes", "a longer one");
  }
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";  // spreadsheets write one
  if (line_number_ == 1 && line.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    line.remove_prefix(kByteOrderMark.size());
  }
  line = Trimmed(line);
  if (line.empty() || line.front() == '#') return std::nullopt;

  const std::vector<std::string_view> fields = Fields(line);
  if (columns_.empty()) {
    ParseHeader(fields);
    return std::nullopt;
  }
  if (fields.size() != columns_.size()) {
    Fail(std::to_string(columns_.size()) + " fields as in the header", std::to_string(fields.size()));
  }

  ImuSample sample;
  if (time_column_ != kAbsent) {
    sample.seconds = Number(fields, time_column_);
    if (time_ == Time::kRequired && last_seconds_ && *sample.seconds < *last_seconds_) {
      Fail("a time t not before " + Seconds(*last_seconds_), Seconds(*sample.seconds));
    }
    last_seconds_ = sample.seconds;
  }
  std::vector<double> values;
  for (const size_t column : orientation_columns_) values.push_back(Number(fields, column));
  if (values.size() == 4) {
    sample.orientation = Quaternion{values[0], values[1], values[2], values[3]};
  } else {
    sample.orientation = Angles{values[0], values[1], values[2]};
  }
  ++sample_count_;
  return sample;
}

void ImuLineParser::CheckEnd() const {
  if (sample_count_ > 0) return;
  throw HostError(source_ + ": expected " +
                  (columns_.empty() ? time_ == Time::kRequired ? kExpectedHeader : kExpectedLiveHeader
                                    : "samples after the header") +
                  ", found the end of the input");
}

void ImuLineParser::ParseHeader(const std::vector<std::string_view>& names) {
  const auto find = [&](const char* name) {
    const auto found = std::find(names.begin(), names.end(), name);
    if (found == names.end()) return kAbsent;
    if (std::find(found + 1, names.end(), name) != names.end()) {
      Fail("one column " + std::string(name), "several");
    }
    return static_cast<size_t>(found - names.begin());
  };
  const auto find_all = [&](std::vector<size_t> columns) {
    const bool complete = std::find(columns.begin(), columns.end(), kAbsent) == columns.end();
    return complete ? columns : std::vector<size_t>();
  };

  time_column_ = find("t");
  orientation_columns_ = find_all({find("qx"), find("qy"), find("qz"), find("qw")});
  if (orientation_columns_.empty()) orientation_columns_ = find_all({find("roll"), find("pitch"), find("yaw")});

  const bool time_missing = time_ == Time::kRequired && time_column_ == kAbsent;
  if (time_missing || orientation_columns_.empty()) {
    std::string line;
    for (const std::string_view name : names) line += (line.empty() ? "" : ",") + std::string(name);
    Fail(time_ == Time::kRequired ? kExpectedHeader : kExpectedLiveHeader, Quoted(line));
  }
  columns_.assign(names.begin(), names.end());
}

double ImuLineParser::Number(const std::vector<std::string_view>& fields, size_t column) const {
  std::string_view text = fields[column];
  if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
  double number = 0.0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
  if (end.ec != std::errc() || end.ptr != text.data() + text.size() || !std::isfinite(number)) {
    Fail("a number for " + columns_[column], Quoted(fields[column]));
  }
  return number;
}

void ImuLineParser::Fail(const std::string& expected, const std::string& found) const {
  throw HostError(source_ + ", line " + std::to_string(line_number_) + ": expected " + expected + ", found " + found);
}

// ---- ImuLines ---------------------------------------------------------------------------------------------

bool ImuLines::Add(std::string_view piece) {
  unfinished_ += piece;
  const std::string_view text = unfinished_;
  size_t begin = 0;
  for (size_t end; (end = text.find('\n', begin)) != std::string_view::npos; begin = end + 1) {
    if (!Take(text.substr(begin, end - begin))) return false;
  }
  unfinished_.erase(0, begin);
  return unfinished_.size() <= ImuLineParser::kLongestLine || Take(unfinished_);
}

void ImuLines::End() {
  if (unfinished_.empty() || Take(unfinished_)) parser_.CheckEnd();
}

bool ImuLines::Take(std::string_view line) {
  const std::optional<ImuSample> sample = parser_.Parse(line);
  return !sample || sink_(*sample);
}

// ---- Files ------------------------------------------------------------------------------------------------

std::vector<ImuSample> ReadImuRun(const std::string& path, size_t most_bytes) {
  const auto fail = [&](const std::string& reason) {
    throw HostError("cannot read the IMU file " + path + ": " + reason);
  };
  const std::string other = OtherThanAFile(path);
  if (!other.empty()) {
    fail("it is " + other + (other == "a folder" ? "" : "; --imu - reads samples from standard input as they come"));
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  if (!file) fail(std::strerror(errno));

  std::vector<ImuSample> samples;
  ImuLines lines(path, ImuLineParser::Time::kRequired, [&](const ImuSample& sample) {
    samples.push_back(sample);
    return true;
  });
  size_t bytes = 0;
  do {
    char piece[65536];
    file.read(piece, sizeof(piece));
    const auto size = static_cast<size_t>(file.gcount());
    bytes += size;
    if (bytes > most_bytes) {
      fail("it has more than " + std::to_string(most_bytes) + " bytes; --imu - < " + path +
           " plays a run of any length");
    }
    lines.Add({piece, size});
  } while (file);
  if (file.bad()) fail(std::strerror(errno));
  lines.End();
  return samples;
}

}  // namespace host
