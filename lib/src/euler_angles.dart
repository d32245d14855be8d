import 'dart:math' as math;

import 'package:flutter/foundation.dart';

import 'quaternion.dart';

/// In which order three angles make up one turn.
enum AngleOrder {
  /// Z-Y-X, as IMUs mean it: yaw first about Z, then pitch about the new Y, then roll about the newest X.
  /// q = qz(yaw) qy(pitch) qx(roll).
  zyx,

  /// The other way round, as the plug-in's own command takes angles: q = qx(roll) qy(pitch) qz(yaw).
  channel,
}

/// Roll about X, pitch about Y and yaw about Z, in degrees.
@immutable
class EulerAngles {
  /// Angles in degrees, of any size.
  const EulerAngles({this.roll = 0, this.pitch = 0, this.yaw = 0});

  /// The angles in the order [AngleOrder.zyx] that make up [orientation], which may have any length.
  ///
  /// Roll and yaw from -180 to 180, pitch from -90 to 90. With X straight up or down, where roll and yaw are turns
  /// about one and the same axis, roll takes all of it and yaw is 0.
  factory EulerAngles.of(Quaternion orientation) {
    final Quaternion q = orientation.normalized();
    final double sinePitch = 2 * (q.w * q.y - q.x * q.z);
    if (sinePitch.abs() > 1 - 1e-9) {
      // From -360 to 360, brought into one turn.
      final double roll = 2 * math.atan2(q.x, q.w) * degreesPerRadian;
      return EulerAngles(
        roll: roll > 180 ? roll - 360 : (roll < -180 ? roll + 360 : roll),
        pitch: sinePitch < 0 ? -90 : 90,
      );
    }
    return EulerAngles(
      roll: math.atan2(2 * (q.w * q.x + q.y * q.z), 1 - 2 * (q.x * q.x + q.y * q.y)) * degreesPerRadian,
      pitch: math.asin(sinePitch) * degreesPerRadian,
      yaw: math.atan2(2 * (q.w * q.z + q.x * q.y), 1 - 2 * (q.y * q.y + q.z * q.z)) * degreesPerRadian,
    );
  }

  /// 180 / pi.
  static const double degreesPerRadian = 180 / math.pi;

  /// About X, in degrees.
  final double roll;

  /// About Y, in degrees.
  final double pitch;

  /// About Z, in degrees.
  final double yaw;

  /// Whether all three are numbers and none is infinite.
  bool get isFinite => roll.isFinite && pitch.isFinite && yaw.isFinite;

  /// The turn that these angles make up, of length 1.
  Quaternion toQuaternion([AngleOrder order = AngleOrder.zyx]) {
    final Quaternion aboutX = Quaternion.aboutAxis(1, 0, 0, roll / degreesPerRadian);
    final Quaternion aboutY = Quaternion.aboutAxis(0, 1, 0, pitch / degreesPerRadian);
    final Quaternion aboutZ = Quaternion.aboutAxis(0, 0, 1, yaw / degreesPerRadian);
    return order == AngleOrder.zyx ? aboutZ * aboutY * aboutX : aboutX * aboutY * aboutZ;
  }

  @override
  bool operator ==(Object other) =>
      other is EulerAngles && other.roll == roll && other.pitch == pitch && other.yaw == yaw;

  @override
  int get hashCode => Object.hash(roll, pitch, yaw);

  @override
  String toString() => 'EulerAngles(roll: $roll, pitch: $pitch, yaw: $yaw)';
}
