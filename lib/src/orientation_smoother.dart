import 'dart:collection';

import 'orientation_sample.dart';
import 'quaternion.dart';

/// Makes an even motion of samples that arrive unevenly: gives the orientation between two samples for the time at
/// which a frame is drawn.
///
/// Samples carry the sensor's own times, and arrive some time later, now more, now less. The smoother takes the
/// quickest arrival of the last seconds for what the two clocks differ by, and shows what was measured [delay] before
/// now. All other times are by one clock of the caller's, such as a [Stopwatch].
class OrientationSmoother {
  /// A smoother without samples.
  ///
  /// [delay] is how much older than the newest the shown orientation may be: at least the longest pause between two
  /// samples, and not negative. [staleAfter] must be longer than nothing. Throws an [ArgumentError] otherwise.
  OrientationSmoother({
    this.delay = const Duration(milliseconds: 50),
    this.staleAfter = const Duration(seconds: 1),
  }) {
    if (delay.isNegative) {
      throw ArgumentError.value(delay, 'delay', 'must not be negative');
    }
    if (staleAfter <= Duration.zero) {
      throw ArgumentError.value(staleAfter, 'staleAfter', 'must be longer than nothing');
    }
  }

  /// How much older than the newest sample the shown orientation may be.
  final Duration delay;

  /// Without a sample for this long, [isStaleAt] says so.
  final Duration staleAfter;

  // For who adds samples and never asks for an orientation.
  static const int _mostSamples = 4096;

  // A step back this large is a clock that was set anew; a smaller one is a sample that was overtaken.
  static const Duration _clockStep = Duration(seconds: 1);

  // The clocks drift apart: an arrival counts for the offset this long at least, and twice as long at most.
  static const Duration _offsetWindow = Duration(seconds: 5);

  final ListQueue<OrientationSample> _samples = ListQueue<OrientationSample>();
  Duration? _lastArrival;
  Duration? _windowStart;
  Duration? _leastOffset;
  Duration? _leastOffsetBefore;

  /// Takes a sample that came in at [arrival].
  ///
  /// One that is not newer than the last is left out; but where time steps back by more than a second, the sensor has
  /// started anew, and so does the smoother. Throws an [ArgumentError] when the orientation is not finite.
  void add(OrientationSample sample, {required Duration arrival}) {
    if (!sample.orientation.isFinite) {
      throw ArgumentError.value(sample.orientation, 'sample.orientation', 'must be finite');
    }
    if (_samples.isNotEmpty && sample.time <= _samples.last.time) {
      if (_samples.last.time - sample.time <= _clockStep) {
        return;
      }
      clear();
    }
    _samples.addLast(sample);
    if (_samples.length > _mostSamples) {
      _samples.removeFirst();
    }
    _lastArrival = arrival;
    _noteOffset(arrival - sample.time, arrival);
  }

  /// Forgets all samples.
  void clear() {
    _samples.clear();
    _lastArrival = null;
    _windowStart = null;
    _leastOffset = null;
    _leastOffsetBefore = null;
  }

  /// The orientation to show at [now], of length 1, or null when there is no sample yet.
  ///
  /// The newest one's where no newer has arrived in time. Samples older than it are forgotten, so [now] must not
  /// go back.
  Quaternion? orientationAt(Duration now) {
    final Duration? offset = _offset;
    if (offset == null) {
      return null;
    }
    final Duration wanted = now - offset - delay;
    while (_samples.length > 1 && _samples.elementAt(1).time <= wanted) {
      _samples.removeFirst();
    }
    final OrientationSample before = _samples.first;
    if (_samples.length == 1 || wanted <= before.time) {
      return before.orientation.normalized();
    }
    final OrientationSample after = _samples.elementAt(1);
    final int span = (after.time - before.time).inMicroseconds;
    return before.orientation.slerp(after.orientation, (wanted - before.time).inMicroseconds / span);
  }

  /// Whether no sample has come for [staleAfter] at [now]. Without any sample at all it is false.
  bool isStaleAt(Duration now) {
    final Duration? last = _lastArrival;
    return last != null && now - last >= staleAfter;
  }

  void _noteOffset(Duration offset, Duration arrival) {
    final Duration? start = _windowStart;
    final Duration? least = _leastOffset;
    if (start == null || least == null || arrival - start >= _offsetWindow) {
      _leastOffsetBefore = least;
      _leastOffset = offset;
      _windowStart = arrival;
    } else if (offset < least) {
      _leastOffset = offset;
    }
  }

  Duration? get _offset {
    final Duration? least = _leastOffset;
    final Duration? before = _leastOffsetBefore;
    return least == null || before == null || least < before ? least : before;
  }
}
