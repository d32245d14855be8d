import 'package:flutter/foundation.dart';

import 'quaternion.dart';

/// One of the six directions along the model's axes.
enum ModelAxis {
  /// Along X.
  plusX(1, 0, 0),

  /// Against X.
  minusX(-1, 0, 0),

  /// Along Y.
  plusY(0, 1, 0),

  /// Against Y.
  minusY(0, -1, 0),

  /// Along Z.
  plusZ(0, 0, 1),

  /// Against Z.
  minusZ(0, 0, -1);

  const ModelAxis(this.x, this.y, this.z);

  /// The direction's X: -1, 0 or 1.
  final double x;

  /// The direction's Y: -1, 0 or 1.
  final double y;

  /// The direction's Z: -1, 0 or 1.
  final double z;
}

/// How the sensor sits on the device that the model shows.
@immutable
class Mounting {
  /// A sensor that sits at any angle: [modelToSensor] takes the model's coordinates to the sensor's.
  const Mounting(this.modelToSensor);

  /// Where the sensor's X, Y and Z axes lie in the model's axes.
  ///
  /// Throws an [ArgumentError] when the three are not at right angles to each other, or make up a left hand.
  factory Mounting.axes({required ModelAxis x, required ModelAxis y, required ModelAxis z}) {
    // The product of the first two directions: the third, for a right hand.
    final bool rightHanded = x.y * y.z - x.z * y.y == z.x &&
        x.z * y.x - x.x * y.z == z.y &&
        x.x * y.y - x.y * y.x == z.z;
    if (!rightHanded) {
      throw ArgumentError('$x, $y, $z are not the axes of a right hand');
    }
    return Mounting(_turnToColumns(x, y, z).conjugate);
  }

  /// As [Mounting.axes], from a text such as `+x,-z,+y`: sensor X along model X, sensor Y against model Z, sensor Z
  /// along model Y. For a model that shows its nose to -Z and its top to Y, `-z,-x,+y` is a sensor with X forward, Y
  /// left and Z up, and `-z,+x,-y` one with X forward, Y right and Z down.
  ///
  /// Throws a [FormatException] for anything else than three signed axes of a right hand.
  factory Mounting.parse(String text) {
    final List<ModelAxis?> axes = text.split(',').map((String name) => _axesByName[name.trim()]).toList();
    if (axes case [final ModelAxis x, final ModelAxis y, final ModelAxis z]) {
      try {
        return Mounting.axes(x: x, y: y, z: z);
      } on ArgumentError catch (error) {
        throw FormatException('${error.message}', text);
      }
    }
    throw FormatException('A mounting is three signed axes, such as +x,-z,+y', text);
  }

  static const Map<String, ModelAxis> _axesByName = <String, ModelAxis>{
    '+x': ModelAxis.plusX,
    '-x': ModelAxis.minusX,
    '+y': ModelAxis.plusY,
    '-y': ModelAxis.minusY,
    '+z': ModelAxis.plusZ,
    '-z': ModelAxis.minusZ,
  };

  /// The sensor's axes are the model's.
  static const Mounting aligned = Mounting(Quaternion.identity);

  /// The turn that takes the model's coordinates to the sensor's.
  final Quaternion modelToSensor;

  // The turn whose matrix has these columns.
  static Quaternion _turnToColumns(ModelAxis a, ModelAxis b, ModelAxis c) {
    // Four times the squares of the components. One of them is 1 at least, and its row has no difference that cancels.
    final double xx = 1 + a.x - b.y - c.z;
    final double yy = 1 - a.x + b.y - c.z;
    final double zz = 1 - a.x - b.y + c.z;
    final double ww = 1 + a.x + b.y + c.z;
    if (ww >= 1) {
      return Quaternion(b.z - c.y, c.x - a.z, a.y - b.x, ww).normalized();
    }
    if (xx >= 1) {
      return Quaternion(xx, a.y + b.x, c.x + a.z, b.z - c.y).normalized();
    }
    if (yy >= 1) {
      return Quaternion(a.y + b.x, yy, b.z + c.y, c.x - a.z).normalized();
    }
    return Quaternion(c.x + a.z, b.z + c.y, zz, a.y - b.x).normalized();
  }

  @override
  bool operator ==(Object other) => other is Mounting && other.modelToSensor == modelToSensor;

  @override
  int get hashCode => modelToSensor.hashCode;

  @override
  String toString() => 'Mounting($modelToSensor)';
}
