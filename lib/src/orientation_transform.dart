import 'package:flutter/foundation.dart';

import 'earth_frame.dart';
import 'mounting.dart';
import 'orientation_zero.dart';
import 'quaternion.dart';

/// The way from what a sensor reports to what the view shows.
///
/// A sensor's quaternion q takes the **sensor's axes to the Earth frame** (a source that means the inverse needs
/// [Quaternion.conjugate] first). What is sent to the view takes the model's axes to the viewer's: E q M, with E from
/// [frame] and M from [mounting], corrected by [zero].
@immutable
class OrientationTransform {
  /// A sensor that refers to [frame], sits on the device as [mounting] says, and is shown against [zero].
  const OrientationTransform({
    this.frame = EarthFrame.view,
    this.mounting = Mounting.aligned,
    this.zero = OrientationZero.none,
  });

  /// What the sensor's quaternion refers to.
  final EarthFrame frame;

  /// How the sensor sits on the device.
  final Mounting mounting;

  /// What is shown as no turn.
  final OrientationZero zero;

  /// What `OrbiskController.setOrientation` takes, for a sensor that reports [sensorToEarth]: of length 1.
  Quaternion apply(Quaternion sensorToEarth) => zero.apply(_view(sensorToEarth));

  /// From now on [sensorToEarth] is shown level and facing the person.
  OrientationTransform zeroed(Quaternion sensorToEarth) => _withZero(zero.full(_view(sensorToEarth)));

  /// From now on [sensorToEarth] is shown facing the person, as tilted as before.
  OrientationTransform headingZeroed(Quaternion sensorToEarth) => _withZero(zero.heading(_view(sensorToEarth)));

  /// The device is held level now, however the sensor sits on it: roll and pitch of [sensorToEarth] are shown as 0.
  OrientationTransform mountingZeroed(Quaternion sensorToEarth) => _withZero(zero.mounting(_view(sensorToEarth)));

  /// The same frame and mounting, and no zero.
  OrientationTransform withoutZero() => _withZero(OrientationZero.none);

  OrientationTransform _withZero(OrientationZero zero) =>
      OrientationTransform(frame: frame, mounting: mounting, zero: zero);

  Quaternion _view(Quaternion sensorToEarth) => frame.toViewer * sensorToEarth.normalized() * mounting.modelToSensor;

  @override
  bool operator ==(Object other) =>
      other is OrientationTransform && other.frame == frame && other.mounting == mounting && other.zero == zero;

  @override
  int get hashCode => Object.hash(frame, mounting, zero);

  @override
  String toString() => 'OrientationTransform(frame: ${frame.name}, mounting: $mounting, zero: $zero)';
}
