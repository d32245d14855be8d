// Orientations as the IMU gives them and as a person reads them.

#ifndef HOST_ORIENTATION_H_
#define HOST_ORIENTATION_H_

#include <string>
#include <variant>

namespace host {

/// w is the scalar part; any length but zero.
struct Quaternion {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double w = 1.0;
};

/// In degrees.
struct Angles {
  double roll = 0.0;
  double pitch = 0.0;
  double yaw = 0.0;
};

/// What one IMU sample says, in the form it came in.
using Orientation = std::variant<Quaternion, Angles>;

/// The orientation in degrees: angles as they are, a quaternion turned into roll about X, pitch about Y and
/// yaw about Z, applied in this order about fixed axes. A quaternion of length zero counts as no rotation.
Angles AnglesOf(const Orientation& orientation);

/// "roll 12°  pitch -3°  yaw 45°": whole degrees, never "-0".
std::string OrientationText(const Orientation& orientation);

/// The base rotation, as "setBaseRotation" takes it, under which a device held as in `now` looks as one held
/// level looks under `base`.
Angles BaseThatStraightens(const Orientation& now, const Angles& base);

}  // namespace host

#endif  // HOST_ORIENTATION_H_
