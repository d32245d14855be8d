import 'dart:async';

import 'package:flutter/services.dart';
import 'package:flutter_test/flutter_test.dart';
import 'package:orbisk/src/viewer_queue.dart';

/// Stands for the plug-in: answers the channel as that does, remembers what was called, and fails or waits where told
/// to.
class MockPlugin {
  static const MethodChannel channel = MethodChannel('orbisk');

  /// All calls, in order.
  final List<MethodCall> calls = <MethodCall>[];

  /// What a method fails with instead of its answer.
  final Map<String, Exception> failures = <String, Exception>{};

  /// A method that is in here is answered when its completer is completed.
  final Map<String, Completer<void>> held = <String, Completer<void>>{};

  int _lastTexture = 6;

  /// The next answer to "createTexture", if it is not the next number.
  int? nextTexture;

  /// Begins with an isolate that has called nothing yet.
  void install() {
    ViewerQueue.shared = ViewerQueue();
    TestDefaultBinaryMessengerBinding.instance.defaultBinaryMessenger.setMockMethodCallHandler(channel, _answer);
  }

  void remove() {
    TestDefaultBinaryMessengerBinding.instance.defaultBinaryMessenger.setMockMethodCallHandler(channel, null);
  }

  /// The names of the calls that change what there is, without the values.
  List<String> get steps => <String>[
        for (final MethodCall call in calls)
          if (!call.method.startsWith('set')) call.method,
      ];

  List<MethodCall> callsOf(String method) => calls.where((MethodCall call) => call.method == method).toList();

  /// Lets a method of [held] go on.
  void letGo(String method) => held.remove(method)!.complete();

  void hold(String method) => held[method] = Completer<void>();

  Future<Object?> _answer(MethodCall call) async {
    calls.add(call);
    await held[call.method]?.future;
    final Exception? failure = failures[call.method];
    if (failure != null) {
      throw failure;
    }
    if (call.method != 'createTexture') {
      return true;
    }
    final int texture = nextTexture ?? ++_lastTexture;
    nextTexture = null;
    return texture;
  }
}
