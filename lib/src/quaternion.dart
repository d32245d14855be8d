import 'dart:math' as math;

import 'package:flutter/foundation.dart';

/// A turn in space: a Hamilton quaternion, `w` its scalar part.
///
/// As an orientation it takes the coordinates of the turned thing to those of its surroundings, v' = q v q*. `q` and
/// `-q` are the same turn. Any length is accepted wherever a quaternion is; one shorter than a millionth counts as no
/// turn.
@immutable
class Quaternion {
  /// A quaternion of these four components, the scalar **last**. No range is checked: see [isFinite].
  const Quaternion(this.x, this.y, this.z, this.w);

  /// As the unnamed constructor, for sources that give the scalar **first**.
  const Quaternion.scalarFirst(this.w, this.x, this.y, this.z);

  /// The turn by [radians] about an axis, right-handed: anticlockwise for whom the axis points at.
  ///
  /// The axis may have any length; without one (shorter than a millionth) the result is [identity].
  factory Quaternion.aboutAxis(double axisX, double axisY, double axisZ, double radians) {
    final double length = math.sqrt(axisX * axisX + axisY * axisY + axisZ * axisZ);
    if (length < shortest) {
      return identity;
    }
    final double sine = math.sin(radians / 2) / length;
    return Quaternion(axisX * sine, axisY * sine, axisZ * sine, math.cos(radians / 2));
  }

  /// No turn.
  static const Quaternion identity = Quaternion(0, 0, 0, 1);

  /// What is shorter than this has no direction, and counts as no turn.
  static const double shortest = 1e-6;

  /// The vector part's X.
  final double x;

  /// The vector part's Y.
  final double y;

  /// The vector part's Z.
  final double z;

  /// The scalar part.
  final double w;

  /// Whether all four components are numbers and none is infinite.
  bool get isFinite => x.isFinite && y.isFinite && z.isFinite && w.isFinite;

  /// The square root of the sum of the squares: 1 for a quaternion that only turns.
  double get length => math.sqrt(dot(this));

  /// The inverse turn, of a quaternion of length 1.
  Quaternion get conjugate => Quaternion(-x, -y, -z, w);

  /// The same turn written with the other sign.
  Quaternion operator -() => Quaternion(-x, -y, -z, -w);

  /// The Hamilton product: as turns, [other] is applied first.
  Quaternion operator *(Quaternion other) => Quaternion(
        w * other.x + x * other.w + y * other.z - z * other.y,
        w * other.y - x * other.z + y * other.w + z * other.x,
        w * other.z + x * other.y - y * other.x + z * other.w,
        w * other.w - x * other.x - y * other.y - z * other.z,
      );

  /// The sum of the products of the components.
  double dot(Quaternion other) => x * other.x + y * other.y + z * other.z + w * other.w;

  /// The same turn at length 1; [identity] when this is shorter than [shortest].
  Quaternion normalized() {
    final double length = this.length;
    return length < shortest ? identity : Quaternion(x / length, y / length, z / length, w / length);
  }

  /// The angle of the turn from this orientation to [other], in radians from 0 to pi.
  double angleTo(Quaternion other) {
    final Quaternion between = normalized().conjugate * other.normalized();
    final double sine = math.sqrt(between.x * between.x + between.y * between.y + between.z * between.z);
    return 2 * math.atan2(sine, between.w.abs());
  }

  /// The orientation on the shortest way from this one (at [t] = 0) to [other] (at 1), at constant angular speed.
  ///
  /// Of length 1. [t] is not limited to 0 to 1: beyond it the turn goes on. Whether an end is written as `q` or `-q`
  /// makes no difference.
  Quaternion slerp(Quaternion other, double t) {
    final Quaternion from = normalized();
    final Quaternion target = other.normalized();
    final Quaternion to = from.dot(target) < 0 ? -target : target;
    final Quaternion between = from.conjugate * to;
    final double sine = math.sqrt(between.x * between.x + between.y * between.y + between.z * between.z);
    // Where the half angle is too small for a division by its sine, it is the sine.
    final double stretch = sine < 1e-9 ? t : math.sin(t * math.atan2(sine, between.w)) / sine;
    final double scalar = math.cos(t * math.atan2(sine, between.w));
    return (from * Quaternion(between.x * stretch, between.y * stretch, between.z * stretch, scalar)).normalized();
  }

  @override
  bool operator ==(Object other) =>
      other is Quaternion && other.x == x && other.y == y && other.z == z && other.w == w;

  @override
  int get hashCode => Object.hash(x, y, z, w);

  @override
  String toString() => 'Quaternion(x: $x, y: $y, z: $z, w: $w)';
}
