import 'dart:math' as math;

import 'package:flutter_test/flutter_test.dart';
import 'package:orbisk/orbisk.dart';

Duration ms(int milliseconds) => Duration(milliseconds: milliseconds);

/// Turned about Z by [degrees] at [time] by the sensor's clock.
OrientationSample sampleAt(int time, double degrees) =>
    OrientationSample(time: ms(time), orientation: Quaternion.aboutAxis(0, 0, 1, degrees * math.pi / 180));

double degreesAt(OrientationSmoother smoother, int now) => EulerAngles.of(smoother.orientationAt(ms(now))!).yaw;

void main() {
  test('nothing is shown before the first sample', () {
    expect(OrientationSmoother().orientationAt(ms(0)), isNull);
  });

  test('between two samples the orientation is between theirs, by their own times', () {
    final OrientationSmoother smoother = OrientationSmoother(delay: ms(20));
    // The sensor's clock is 1000 ms ahead, and the second sample arrives 7 ms late.
    smoother.add(sampleAt(1000, 0), arrival: ms(0));
    smoother.add(sampleAt(1010, 10), arrival: ms(17));
    expect(degreesAt(smoother, 5), closeTo(0, 1e-9));
    expect(degreesAt(smoother, 20), closeTo(0, 1e-9));
    expect(degreesAt(smoother, 25), closeTo(5, 1e-9));
    expect(degreesAt(smoother, 28), closeTo(8, 1e-9));
  });

  test('the newest is shown where no newer has come in time', () {
    final OrientationSmoother smoother = OrientationSmoother(delay: ms(20));
    smoother.add(sampleAt(0, 0), arrival: ms(0));
    smoother.add(sampleAt(10, 10), arrival: ms(10));
    expect(degreesAt(smoother, 500), closeTo(10, 1e-9));
  });

  test('an orientation that is written with the other sign is no jump', () {
    final OrientationSmoother smoother = OrientationSmoother(delay: ms(10));
    smoother.add(sampleAt(0, 0), arrival: ms(0));
    smoother.add(OrientationSample(time: ms(10), orientation: -sampleAt(0, 20).orientation), arrival: ms(10));
    expect(degreesAt(smoother, 15), closeTo(10, 1e-9));
  });

  test('a sample that was overtaken is left out', () {
    final OrientationSmoother smoother = OrientationSmoother(delay: ms(0));
    smoother.add(sampleAt(100, 10), arrival: ms(0));
    smoother.add(sampleAt(90, 50), arrival: ms(1));
    smoother.add(sampleAt(100, 50), arrival: ms(2));
    expect(degreesAt(smoother, 100), closeTo(10, 1e-9));
  });

  test('a sensor that starts anew is followed', () {
    final OrientationSmoother smoother = OrientationSmoother(delay: ms(0));
    smoother.add(sampleAt(100000, 10), arrival: ms(0));
    smoother.add(sampleAt(5, 50), arrival: ms(100));
    expect(degreesAt(smoother, 100), closeTo(50, 1e-9));
  });

  test('clocks may drift apart', () {
    final OrientationSmoother smoother = OrientationSmoother(delay: ms(20));
    // The sensor's clock loses 1 ms a second: 60 ms in the end, more than the delay.
    for (int i = 0; i <= 6000; i++) {
      final Quaternion orientation = Quaternion.aboutAxis(0, 0, 1, i * 0.01 * math.pi / 180);
      smoother.add(
        OrientationSample(time: Duration(microseconds: i * 9990), orientation: orientation),
        arrival: ms(i * 10),
      );
    }
    // Measured 20 to 30 ms ago, and not the newest.
    expect(degreesAt(smoother, 60000), inInclusiveRange(59.965, 59.985));
  });

  test('silence is stale, and no sample at all is not', () {
    final OrientationSmoother smoother = OrientationSmoother(staleAfter: ms(200));
    expect(smoother.isStaleAt(ms(1000)), isFalse);
    smoother.add(sampleAt(0, 0), arrival: ms(1000));
    expect(smoother.isStaleAt(ms(1199)), isFalse);
    expect(smoother.isStaleAt(ms(1200)), isTrue);
    smoother.add(sampleAt(210, 0), arrival: ms(1210));
    expect(smoother.isStaleAt(ms(1211)), isFalse);
  });

  test('numbers that are not finite, and times that make no sense, are refused', () {
    expect(
      () => OrientationSmoother().add(
        OrientationSample(time: ms(0), orientation: const Quaternion(double.nan, 0, 0, 1)),
        arrival: ms(0),
      ),
      throwsArgumentError,
    );
    expect(() => OrientationSmoother(delay: ms(-1)), throwsArgumentError);
    expect(() => OrientationSmoother(staleAfter: Duration.zero), throwsArgumentError);
  });
}
