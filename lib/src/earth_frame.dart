import 'dart:math' as math;

import 'quaternion.dart';

/// The axes of the Earth that a sensor's quaternion refers to, and how they lie in the viewer.
///
/// The viewer has X to the right, Y up and Z towards the person; its far side (-Z) is north. A data sheet calls these
/// frames "reference", "global" or "navigation" frame.
enum EarthFrame {
  /// The viewer's own axes: X right, Y up, Z towards the person.
  view(Quaternion.identity),

  /// X east, Y north, Z up: most sensors, phones, ROS.
  enu(Quaternion(-math.sqrt1_2, 0, 0, math.sqrt1_2)),

  /// X north, Y east, Z down: flight controllers.
  ned(Quaternion(0.5, 0.5, -0.5, 0.5)),

  /// X north, Y west, Z up.
  nwu(Quaternion(-0.5, 0.5, 0.5, 0.5));

  const EarthFrame(this.toViewer);

  /// The turn that takes this frame's coordinates to the viewer's.
  final Quaternion toViewer;
}
