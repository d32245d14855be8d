import 'dart:math' as math;

import 'package:flutter/foundation.dart';

import 'quaternion.dart';

/// What is taken as the zero of the orientations that are shown.
///
/// An orientation `view` (the model's coordinates to the viewer's) is shown as `earthSide * view * bodySide`. The
/// heading is corrected on the Earth's side, about the viewer's vertical (Y): turns about the horizontal are then seen
/// by somebody who looks from the new heading. What tilts the sensor on its body is corrected on the body's side.
///
/// Heading is the direction in which the model's Z axis points, seen from above; for one that points straight up or
/// down, how far the whole model has turned about the vertical.
@immutable
class OrientationZero {
  const OrientationZero._(this.earthSide, this.bodySide);

  /// Nothing is corrected.
  static const OrientationZero none = OrientationZero._(Quaternion.identity, Quaternion.identity);

  /// The turn about the vertical that corrects the heading.
  final Quaternion earthSide;

  /// The turn that corrects how the sensor sits on the body.
  final Quaternion bodySide;

  /// [view] as it is shown, of length 1.
  Quaternion apply(Quaternion view) => (earthSide * view.normalized() * bodySide).normalized();

  /// The zero under which [view] is shown level and facing the person: roll, pitch and heading become 0.
  OrientationZero full(Quaternion view) {
    final Quaternion heading = _headingOf(view.normalized());
    return OrientationZero._(heading.conjugate, (view.normalized().conjugate * heading).normalized());
  }

  /// This zero with another heading: that of [view] becomes 0, its roll and pitch stay as they are shown.
  OrientationZero heading(Quaternion view) =>
      OrientationZero._(_headingOf((view.normalized() * bodySide).normalized()).conjugate, bodySide);

  /// This zero with another mounting: the body is held level now, so roll and pitch of [view] become 0. The heading
  /// that the sensor reports stays.
  OrientationZero mounting(Quaternion view) =>
      OrientationZero._(earthSide, (view.normalized().conjugate * _headingOf(view.normalized())).normalized());

  // The turn about the vertical that is `view`'s heading.
  static Quaternion _headingOf(Quaternion view) {
    // Where the model's Z axis points, seen from above.
    final double right = 2 * (view.x * view.z + view.y * view.w);
    final double near = 1 - 2 * (view.x * view.x + view.y * view.y);
    if (right * right + near * near < 0.0004) {
      // Within a degree or so of the vertical.
      return Quaternion(0, view.y, 0, view.w).normalized();
    }
    return Quaternion.aboutAxis(0, 1, 0, math.atan2(right, near));
  }

  @override
  bool operator ==(Object other) =>
      other is OrientationZero && other.earthSide == earthSide && other.bodySide == bodySide;

  @override
  int get hashCode => Object.hash(earthSide, bodySide);

  @override
  String toString() => 'OrientationZero(earthSide: $earthSide, bodySide: $bodySide)';
}
