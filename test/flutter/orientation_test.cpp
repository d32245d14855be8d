// The orientation arithmetic of the Dart package, in C++ and against the same tables as its Dart tests: contract.csv (frames,
// mountings, orders of angles) and arithmetic.csv (everything else). Where a formula of lib/src is wrong, so is its twin in
// orientation_formulas.h, and this fails without any Dart.

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "test/flutter/orientation_formulas.h"

namespace formulas {
namespace {

// One line of a table; a comma between quotes does not separate.
std::vector<std::string> Cells(const std::string& line) {
  std::vector<std::string> cells(1);
  bool quoted = false;
  for (const char c : line) {
    if (c == '"') {
      quoted = !quoted;
    } else if (c == ',' && !quoted) {
      cells.emplace_back();
    } else {
      cells.back() += c;
    }
  }
  return cells;
}

std::vector<std::vector<std::string>> Rows(const std::string& file) {
  std::ifstream stream(std::string(ORBISK_DART_TABLES) + "/" + file);
  std::vector<std::vector<std::string>> rows;
  for (std::string line; std::getline(stream, line);) {
    if (!line.empty() && line[0] != '#') rows.push_back(Cells(line));
  }
  return rows;
}

std::vector<double> Numbers(const std::string& text) {
  std::istringstream stream(text);
  std::vector<double> numbers;
  for (double number = 0; stream >> number;) numbers.push_back(number);
  return numbers;
}

Quaternion QuaternionOf(const std::string& text) {
  const std::vector<double> n = Numbers(text);
  return {n.at(0), n.at(1), n.at(2), n.at(3)};
}

EulerAngles AnglesOfText(const std::string& text) {
  const std::vector<double> n = Numbers(text);
  return {n.at(0), n.at(1), n.at(2)};
}

// q and -q are the same.
void ExpectSame(const Quaternion& actual, const Quaternion& expected) {
  const double sign = Dot(actual, expected) < 0 ? -1 : 1;
  EXPECT_NEAR(sign * actual.x, expected.x, 2e-9);
  EXPECT_NEAR(sign * actual.y, expected.y, 2e-9);
  EXPECT_NEAR(sign * actual.z, expected.z, 2e-9);
  EXPECT_NEAR(sign * actual.w, expected.w, 2e-9);
}

AngleOrder OrderOf(const std::string& name) { return name == "channel" ? AngleOrder::kChannel : AngleOrder::kZyx; }

Axis AxisOf(const std::string& name) {
  Axis axis = {};
  axis.at(static_cast<size_t>(name.at(1) - 'x')) = name.at(0) == '-' ? -1 : 1;
  return axis;
}

TEST(OrientationContract, HoldsForEveryFrameMountingAndOrderOfAngles) {
  const std::vector<std::vector<std::string>> rows = Rows("contract.csv");
  ASSERT_EQ(rows.size(), 85u);  // one of them the names
  for (size_t i = 1; i < rows.size(); ++i) {
    const std::vector<std::string>& row = rows[i];
    SCOPED_TRACE("line " + std::to_string(i + 1) + ": " + row[0]);
    const std::vector<std::string> axes = Cells(row[2]);
    const Quaternion mounting = ModelToSensor(AxisOf(axes[0]), AxisOf(axes[1]), AxisOf(axes[2]));
    const Quaternion sensor = QuaternionOf(row[8] + " " + row[9] + " " + row[10] + " " + row[7]);
    if (!row[3].empty()) {
      ExpectSame(ToQuaternion(AnglesOfText(row[4] + " " + row[5] + " " + row[6]), OrderOf(row[3])), sensor);
    }
    ExpectSame(FrameToViewer(row[1]) * Normalized(sensor) * mounting,
               QuaternionOf(row[11] + " " + row[12] + " " + row[13] + " " + row[14]));
  }
}

TEST(OrientationContract, RefusesAMountingThatIsNoRightHand) {
  EXPECT_THROW(ModelToSensor({1, 0, 0}, {0, 1, 0}, {0, 0, -1}), std::invalid_argument);
  EXPECT_THROW(ModelToSensor({1, 0, 0}, {1, 0, 0}, {0, 0, 1}), std::invalid_argument);
}

OrientationZero Take(const OrientationZero& zero, const std::string& kind, const Quaternion& pose) {
  if (kind == "full") return zero.Full(pose);
  return kind == "heading" ? zero.Heading(pose) : zero.Mounting(pose);
}

void ExpectRow(const std::vector<std::string>& row) {
  const std::string& operation = row.at(0);
  if (operation == "product") {
    ExpectSame(QuaternionOf(row.at(1)) * QuaternionOf(row.at(2)), QuaternionOf(row.at(3)));
  } else if (operation == "angle") {
    EXPECT_NEAR(AngleTo(QuaternionOf(row.at(1)), QuaternionOf(row.at(2))), std::stod(row.at(3)), 1e-9);
  } else if (operation == "slerp") {
    ExpectSame(Slerp(QuaternionOf(row.at(1)), QuaternionOf(row.at(2)), std::stod(row.at(3))), QuaternionOf(row.at(4)));
  } else if (operation == "angles") {
    const Quaternion made = ToQuaternion(AnglesOfText(row.at(2)), OrderOf(row.at(1)));
    ExpectSame(made, QuaternionOf(row.at(3)));
    ExpectSame(ToQuaternion(AnglesOf(made)), made);
  } else if (operation == "angles_at_the_pole") {
    const EulerAngles actual = AnglesOf(QuaternionOf(row.at(1)));
    const EulerAngles expected = AnglesOfText(row.at(2));
    EXPECT_NEAR(actual.roll, expected.roll, 1e-6);
    EXPECT_EQ(actual.pitch, expected.pitch);
    EXPECT_EQ(actual.yaw, expected.yaw);
  } else {
    ASSERT_EQ(operation, "zero");
    OrientationZero zero;
    size_t at = 1;
    for (; row.at(at) != "shows"; at += 2) zero = Take(zero, row[at], QuaternionOf(row.at(at + 1)));
    ExpectSame(zero.Apply(QuaternionOf(row.at(at + 1))), QuaternionOf(row.at(at + 2)));
  }
}

TEST(OrientationArithmetic, ComesToWhatMatricesComeTo) {
  const std::vector<std::vector<std::string>> rows = Rows("arithmetic.csv");
  ASSERT_EQ(rows.size(), 57u);
  for (const std::vector<std::string>& row : rows) {
    std::string text;
    for (const std::string& cell : row) text += cell + ",";
    SCOPED_TRACE(text);
    ExpectRow(row);
  }
}

// The reference orientation goes to the plug-in as angles whose pitch is about X and whose roll is about Y.
TEST(ReferenceOrientation, TurnsTheSceneAsTheQuaternionDoes) {
  for (const std::vector<std::string>& row : Rows("arithmetic.csv")) {
    if (row[0] != "product") continue;
    SCOPED_TRACE(row[3]);
    const Quaternion reference = QuaternionOf(row[3]);
    const EulerAngles angles = AnglesOf(reference);
    const double sent_roll = angles.pitch, sent_pitch = angles.roll, sent_yaw = angles.yaw;
    const Quaternion scene = AboutAxis(0, 0, 1, sent_yaw / kDegreesPerRadian) *
                             AboutAxis(0, 1, 0, sent_roll / kDegreesPerRadian) *
                             AboutAxis(1, 0, 0, sent_pitch / kDegreesPerRadian);
    ExpectSame(scene, reference);
  }
}

}  // namespace
}  // namespace formulas
