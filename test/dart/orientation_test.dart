// The orientation arithmetic against contract.csv (frames, mountings, orders of angles) and arithmetic.csv (everything
// else), which test/flutter/orientation_test.cpp reads as well.

import 'dart:math' as math;

import 'package:flutter_test/flutter_test.dart';
import 'package:orbisk/orbisk.dart';

import 'support/tables.dart';

List<double> numbersOf(String text) => text.split(' ').map(double.parse).toList();

Quaternion quaternionOf(String text) {
  final List<double> numbers = numbersOf(text);
  return Quaternion(numbers[0], numbers[1], numbers[2], numbers[3]);
}

EulerAngles anglesOf(String text) {
  final List<double> numbers = numbersOf(text);
  return EulerAngles(roll: numbers[0], pitch: numbers[1], yaw: numbers[2]);
}

AngleOrder orderOf(String name) => name == 'channel' ? AngleOrder.channel : AngleOrder.zyx;

/// q and -q are the same.
void expectSame(Quaternion actual, Quaternion expected, String reason) {
  final Quaternion same = actual.dot(expected) < 0 ? -actual : actual;
  expect(same.x, closeTo(expected.x, 2e-9), reason: reason);
  expect(same.y, closeTo(expected.y, 2e-9), reason: reason);
  expect(same.z, closeTo(expected.z, 2e-9), reason: reason);
  expect(same.w, closeTo(expected.w, 2e-9), reason: reason);
}

void expectRow(String row) {
  final List<String> cells = cellsOf(row);
  switch (cells[0]) {
    case 'product':
      expectSame(quaternionOf(cells[1]) * quaternionOf(cells[2]), quaternionOf(cells[3]), row);
    case 'angle':
      final double angle = quaternionOf(cells[1]).angleTo(quaternionOf(cells[2]));
      expect(angle, closeTo(double.parse(cells[3]), 1e-9), reason: row);
    case 'slerp':
      expectSame(
        quaternionOf(cells[1]).slerp(quaternionOf(cells[2]), double.parse(cells[3])),
        quaternionOf(cells[4]),
        row,
      );
    case 'angles':
      final Quaternion made = anglesOf(cells[2]).toQuaternion(orderOf(cells[1]));
      expectSame(made, quaternionOf(cells[3]), row);
      expectSame(EulerAngles.of(made).toQuaternion(), made, row);
    case 'angles_at_the_pole':
      final EulerAngles actual = EulerAngles.of(quaternionOf(cells[1]));
      final EulerAngles expected = anglesOf(cells[2]);
      expect(actual.roll, closeTo(expected.roll, 1e-6), reason: row);
      expect(actual.pitch, expected.pitch, reason: row);
      expect(actual.yaw, expected.yaw, reason: row);
    case 'zero':
      OrientationZero zero = OrientationZero.none;
      int at = 1;
      for (; cells[at] != 'shows'; at += 2) {
        final Quaternion pose = quaternionOf(cells[at + 1]);
        zero = switch (cells[at]) {
          'full' => zero.full(pose),
          'heading' => zero.heading(pose),
          _ => zero.mounting(pose),
        };
      }
      expectSame(zero.apply(quaternionOf(cells[at + 1])), quaternionOf(cells[at + 2]), row);
    default:
      fail('unknown: $row');
  }
}

void main() {
  test('the contract holds for every frame, mounting and order of angles', () {
    final List<String> lines = linesOf('contract.csv');
    expect(lines, hasLength(85));
    for (final String line in lines.skip(1)) {
      final List<String> cells = cellsOf(line);
      final Quaternion sensor = quaternionOf('${cells[8]} ${cells[9]} ${cells[10]} ${cells[7]}');
      if (cells[3].isNotEmpty) {
        final EulerAngles angles = anglesOf('${cells[4]} ${cells[5]} ${cells[6]}');
        expectSame(angles.toQuaternion(orderOf(cells[3])), sensor, line);
      }
      final OrientationTransform transform = OrientationTransform(
        frame: EarthFrame.values.byName(cells[1]),
        mounting: Mounting.parse(cells[2]),
      );
      expectSame(transform.apply(sensor), quaternionOf('${cells[11]} ${cells[12]} ${cells[13]} ${cells[14]}'), line);
    }
  });

  test('the arithmetic comes to what matrices come to', () {
    final List<String> lines = linesOf('arithmetic.csv');
    expect(lines, hasLength(57));
    lines.forEach(expectRow);
  });

  test('a mounting that is no right hand, or no mounting, is refused', () {
    for (final String text in <String>['+x,+y,-z', '+x,+x,+z', '+x,+y', '+x,+y,+z,+x', 'x,y,z', '']) {
      expect(() => Mounting.parse(text), throwsFormatException, reason: text);
    }
    expect(
      () => Mounting.axes(x: ModelAxis.plusX, y: ModelAxis.plusY, z: ModelAxis.minusZ),
      throwsArgumentError,
    );
  });

  test('a sensor is zeroed as it is mounted and in its frame', () {
    final OrientationTransform transform = OrientationTransform(
      frame: EarthFrame.enu,
      mounting: Mounting.parse('-z,-x,+y'),
    );
    // Forward, left and up: heading east of north by -70 degrees, nose down by 20, leaning by 30.
    const EulerAngles held = EulerAngles(roll: 30, pitch: 20, yaw: 70);
    final Quaternion sensor = held.toQuaternion();

    expectSame(transform.zeroed(sensor).apply(sensor), Quaternion.identity, 'full');
    expectSame(
      transform.headingZeroed(sensor).apply(sensor),
      transform.apply(const EulerAngles(roll: 30, pitch: 20, yaw: 90).toQuaternion()),
      'heading: north, as tilted as before',
    );
    expectSame(
      transform.mountingZeroed(sensor).apply(sensor),
      transform.apply(const EulerAngles(yaw: 70).toQuaternion()),
      'mounting: level, with the same heading',
    );
    expect(transform.zeroed(sensor).withoutZero(), transform);
  });

  test('what is too short to have a direction is no turn', () {
    expect(const Quaternion(0, 0, 1e-7, 0).normalized(), Quaternion.identity);
    expect(Quaternion.aboutAxis(0, 0, 1e-7, 1), Quaternion.identity);
    expect(EulerAngles.of(const Quaternion(0, 0, 0, 0)), const EulerAngles());
  });

  test('length does not count', () {
    const Quaternion long = Quaternion(0, 0, 3, 3);
    expect(long.length, closeTo(3 * math.sqrt2, 1e-12));
    expect(EulerAngles.of(long).yaw, closeTo(90, 1e-9));
    expect(long.angleTo(Quaternion.identity), closeTo(math.pi / 2, 1e-12));
  });

  test('numbers that are not finite are seen', () {
    expect(const Quaternion(0, double.nan, 0, 1).isFinite, isFalse);
    expect(const Quaternion(0, 0, double.infinity, 1).isFinite, isFalse);
    expect(const EulerAngles(pitch: double.negativeInfinity).isFinite, isFalse);
    expect(Quaternion.identity.isFinite, isTrue);
  });
}
