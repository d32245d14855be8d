import 'dart:async';

import 'package:flutter/foundation.dart';

/// Notices when samples stop coming, at a cost that does not grow with their rate.
class SampleWatch {
  /// Calls [onChange] whenever [isStale] changes. Without a [limit] nothing is ever stale.
  SampleWatch({required this.limit, required this.onChange});

  /// Without a sample for this long, and half as long again at most, [isStale] becomes true.
  final Duration? limit;

  /// Called when [isStale] has changed.
  final VoidCallback onChange;

  Timer? _halves;
  bool _cameInThisHalf = false;
  int _quietHalves = 0;
  bool _isStale = false;

  /// Whether samples have stopped coming. Before the first one it is false.
  bool get isStale => _isStale;

  /// A sample has come.
  void noteSample() {
    final Duration? limit = this.limit;
    if (limit == null) {
      return;
    }
    _cameInThisHalf = true;
    _halves ??= Timer.periodic(limit ~/ 2, (_) => _endHalf());
    if (_isStale) {
      _isStale = false;
      onChange();
    }
  }

  /// Ends the watch; the next sample begins it anew.
  void stop() {
    _halves?.cancel();
    _halves = null;
    _quietHalves = 0;
  }

  void _endHalf() {
    if (_cameInThisHalf) {
      _cameInThisHalf = false;
      _quietHalves = 0;
    } else if (++_quietHalves == 2) {
      stop();
      _isStale = true;
      onChange();
    }
  }
}
