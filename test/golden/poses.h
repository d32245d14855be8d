#ifndef TEST_GOLDEN_POSES_H_
#define TEST_GOLDEN_POSES_H_

#include <cstdint>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "test/support/plugin_fixture.h"

/// A view of a model: the texture's size in pixels and the commands that turn it.
struct Pose {
  const char* name;
  int32_t width, height;
  std::vector<std::pair<std::string, EncodableValue>> commands;

  friend std::ostream& operator<<(std::ostream& stream, const Pose& pose) { return stream << pose.name; }
};

/// A turn about each axis, one about none of them, the reference orientation in both its forms, a size of its own.
inline std::vector<Pose> Poses() {
  return {
      {"identity", 320, 240, {}},
      {"roll_28", 320, 240, {{"setRotation", AngleArguments(28, 0, 0)}}},
      {"pitch_-73", 320, 240, {{"setRotation", AngleArguments(0, -73, 0)}}},
      {"yaw_71", 320, 240, {{"setRotation", AngleArguments(0, 0, 71)}}},
      {"quaternion", 320, 240, {{"setQuaternion", QuaternionArguments(0.31, -0.47, 0.19, 0.8)}}},
      {"base_angles",
       320,
       240,
       {{"setBaseRotation", AngleArguments(-20, 15, 40)}, {"setRotation", AngleArguments(10, 20, 30)}}},
      {"base_quaternion_large",
       480,
       360,
       {{"setBaseQuaternion", QuaternionArguments(0.35, 0.1, -0.2, 0.9)},
        {"setRotation", AngleArguments(-50, 35, 160)},
        {"setModelScale", Map({{"scale", 1.35}})}}},
  };
}

#endif  // TEST_GOLDEN_POSES_H_
