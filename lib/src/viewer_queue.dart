import 'dart:async';

/// The calls that make, fill and end the process's one viewer, one after the other, whichever controller they come
/// from.
class ViewerQueue {
  /// The queue of this isolate.
  static ViewerQueue shared = ViewerQueue();

  Future<void>? _last; // the end of the last call that has not ended

  Object? _owner;
  void Function()? _onLost;

  /// Whether the viewer that exists is [owner]'s.
  bool belongsTo(Object owner) => identical(_owner, owner);

  /// From now on the viewer is [owner]'s. Who had it before is told.
  void take(Object owner, {required void Function() onLost}) {
    final void Function()? tellFormer = belongsTo(owner) ? null : _onLost;
    _owner = owner;
    _onLost = onLost;
    tellFormer?.call();
  }

  /// From now on the viewer is nobody's.
  void release() {
    _owner = null;
    _onLost = null;
  }

  /// Runs [call] when all that came before have ended, and never at once: who calls in the middle of a build hears of
  /// what comes of it when the build is done. Returns what it returns.
  Future<T> run<T>(Future<T> Function() call) async {
    final Future<void>? before = _last;
    final Completer<void> end = Completer<void>();
    _last = end.future;
    await before;
    try {
      return await call();
    } finally {
      if (identical(_last, end.future)) {
        _last = null;
      }
      end.complete();
    }
  }
}
