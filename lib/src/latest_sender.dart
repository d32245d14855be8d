import 'dart:async';

/// Sends one value and gets its answer.
typedef SendValue = Future<void> Function();

/// Sends the values of one kind so that the newest wins: one is under way at most, the newest one that came meanwhile
/// goes next, and what came in between is dropped.
class LatestSender {
  /// A sender that is closed, with [initial] as its value. [interval] is the least time from one value's start to the
  /// next one's; [onFailure] is told what a value failed with.
  LatestSender({required SendValue initial, required this.interval, required this.onFailure}) : _latest = initial;

  /// The least time between two values.
  final Duration interval;

  /// Told what the sending of a value failed with.
  final void Function(Object error, StackTrace stackTrace) onFailure;

  SendValue _latest;
  bool _isWaiting = false; // the latest is still to be sent
  bool _isUnderWay = false;
  Timer? _pause;
  bool _isOpen = false;
  int _opening = 0;
  int _sent = 0;
  int _superseded = 0;

  /// How many values were sent.
  int get sent => _sent;

  /// How many values a newer one has replaced while they waited.
  int get superseded => _superseded;

  /// From now on values are sent, first the newest that there is.
  void open() {
    close();
    _isOpen = true;
    _isWaiting = true;
    _sendLatest();
  }

  /// From now on values are only kept.
  void close() {
    _opening++; // an answer that is still to come is not waited for
    _isOpen = false;
    _isWaiting = false;
    _isUnderWay = false;
    _pause?.cancel();
    _pause = null;
  }

  /// Sends [value] as soon as its turn comes, unless a newer one comes before.
  void offer(SendValue value) {
    _latest = value;
    if (!_isOpen) {
      return;
    }
    if (_isWaiting) {
      _superseded++;
    }
    _isWaiting = true;
    _sendLatest();
  }

  void _sendLatest() {
    if (!_isWaiting || _isUnderWay || _pause != null) {
      return;
    }
    _isWaiting = false;
    _isUnderWay = true;
    _sent++;
    if (interval > Duration.zero) {
      _pause = Timer(interval, () {
        _pause = null;
        _sendLatest();
      });
    }
    unawaited(_send(_latest, _opening));
  }

  Future<void> _send(SendValue value, int opening) async {
    try {
      await value();
    } catch (error, stackTrace) {
      if (opening == _opening) {
        onFailure(error, stackTrace);
      }
    }
    if (opening == _opening) {
      _isUnderWay = false;
      _sendLatest();
    }
  }
}
