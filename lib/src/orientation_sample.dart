import 'package:flutter/foundation.dart';

import 'quaternion.dart';

/// One orientation, with the time at which the sensor measured it.
@immutable
class OrientationSample {
  /// What the sensor reported for [time].
  const OrientationSample({required this.time, required this.orientation});

  /// By the sensor's own clock, counted from any point in time.
  final Duration time;

  /// The sensor's axes to the Earth frame.
  final Quaternion orientation;

  @override
  bool operator ==(Object other) =>
      other is OrientationSample && other.time == time && other.orientation == orientation;

  @override
  int get hashCode => Object.hash(time, orientation);

  @override
  String toString() => 'OrientationSample($time, $orientation)';
}
