// A 3D model of a device, turned live the way its inertial measurement unit (IMU) reports it.
//
// Orbisk is the whole thing in one widget; OrbiskView and OrbiskController are what it is made of. OrientationTransform
// takes what a sensor reports to what the view shows.

export 'src/earth_frame.dart';
export 'src/euler_angles.dart';
export 'src/mounting.dart';
export 'src/orbisk_controller.dart';
export 'src/orbisk_exception.dart';
export 'src/orbisk_figures.dart';
export 'src/orbisk_health.dart';
export 'src/orbisk_resolution.dart';
export 'src/orbisk_view.dart';
export 'src/orbisk_widget.dart';
export 'src/orientation_sample.dart';
export 'src/orientation_smoother.dart';
export 'src/orientation_transform.dart';
export 'src/orientation_zero.dart';
export 'src/quaternion.dart';
