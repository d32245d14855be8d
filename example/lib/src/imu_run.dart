import 'dart:async';

import 'package:orbisk/orbisk.dart';

/// A recorded IMU run.
class ImuRun {
  const ImuRun(this.samples);

  /// Reads lines of `t,qx,qy,qz,qw` under a header of these names: seconds from the start, rising, and a quaternion.
  /// Throws a [FormatException] where a line is something else.
  factory ImuRun.parse(String csv) {
    final List<String> lines = csv.trim().split('\n');
    if (lines.first.trim() != 't,qx,qy,qz,qw') {
      throw FormatException('Not an IMU run: its first line is not t,qx,qy,qz,qw', lines.first);
    }
    final List<OrientationSample> samples = <OrientationSample>[];
    for (final String line in lines.skip(1)) {
      final List<double> numbers = line.split(',').map(double.parse).toList();
      if (numbers.length != 5) {
        throw FormatException('Not five numbers', line);
      }
      samples.add(OrientationSample(
        time: Duration(microseconds: (numbers[0] * Duration.microsecondsPerSecond).round()),
        orientation: Quaternion(numbers[1], numbers[2], numbers[3], numbers[4]),
      ));
    }
    return ImuRun(samples);
  }

  final List<OrientationSample> samples;

  /// The samples as they came, again and again until nobody listens any more. Their times go on rising.
  Stream<OrientationSample> play() {
    if (samples.length < 2) {
      return Stream<OrientationSample>.fromIterable(samples);
    }
    // From one round's first sample to the next one's: the last pause stands between the rounds, too.
    final Duration lastPause = samples.last.time - samples[samples.length - 2].time;
    final Duration round = samples.last.time - samples.first.time + lastPause;
    final Stopwatch clock = Stopwatch();
    int next = 0;
    Timer? timer;
    late final StreamController<OrientationSample> controller;

    void sendWhatIsDue() {
      while (true) {
        final OrientationSample sample = samples[next % samples.length];
        final Duration time = sample.time + round * (next ~/ samples.length);
        if (time - samples.first.time > clock.elapsed) {
          return;
        }
        controller.add(OrientationSample(time: time, orientation: sample.orientation));
        next++;
      }
    }

    controller = StreamController<OrientationSample>(
      onListen: () {
        clock.start();
        timer = Timer.periodic(const Duration(milliseconds: 5), (_) => sendWhatIsDue());
      },
      onCancel: () => timer?.cancel(),
    );
    return controller.stream;
  }
}
