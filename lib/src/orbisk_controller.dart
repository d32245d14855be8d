import 'dart:async';

import 'package:flutter/foundation.dart';

import 'euler_angles.dart';
import 'latest_sender.dart';
import 'orbisk_channel.dart';
import 'orbisk_exception.dart';
import 'orbisk_figures.dart';
import 'orbisk_health.dart';
import 'quaternion.dart';
import 'sample_watch.dart';
import 'viewer_queue.dart';

/// The viewer: one 3D model in one texture.
///
/// **Calls** ([open], [load], [start], [stop], [close], and [show] for the first three) change what there is. They are
/// carried out one after the other in the order in which they were made, so none has to be awaited before the next.
/// Their futures fail with an [OrbiskException], and [health] tells the same.
///
/// **Values** ([setOrientation] and the other setters) change what is seen. They can be set at any time, also while the
/// viewer is closed, and are kept over [close] and [open]. The newest wins: a sensor of 1,000 samples a second costs
/// the application no more messages than one of 30.
///
/// The process has one viewer. A controller that opens takes it from the one that had it; that one's [health] tells so.
class OrbiskController {
  /// A controller that is closed.
  ///
  /// [updateInterval] is the least time between two orientations that are sent; the plug-in draws a frame every 33 ms.
  /// It must not be negative. [staleAfter] is how long the sensor may be silent before [health] says so, up to half as
  /// long again; it must be longer than nothing, and null means for ever. Throws an [ArgumentError] otherwise.
  OrbiskController({this.updateInterval = const Duration(milliseconds: 33), this.staleAfter}) {
    if (updateInterval.isNegative) {
      throw ArgumentError.value(updateInterval, 'updateInterval', 'must not be negative');
    }
    final Duration? limit = staleAfter;
    if (limit != null && limit <= Duration.zero) {
      throw ArgumentError.value(limit, 'staleAfter', 'must be longer than nothing');
    }
  }

  /// The least time between two values of one kind that are sent.
  final Duration updateInterval;

  /// How long the sensor may be silent.
  final Duration? staleAfter;

  static const OrbiskChannel _channel = OrbiskChannel();

  // The plug-in counts a frame's bytes, four for each pixel, in 31 bits.
  static const int _mostPixels = 0x1fffffff;

  final ValueNotifier<int?> _textureId = ValueNotifier<int?>(null);
  final ValueNotifier<OrbiskHealth> _health =
      ValueNotifier<OrbiskHealth>(const OrbiskHealth(OrbiskCondition.noTexture));

  // The plug-in keeps its values over "dispose", also those of an earlier controller: so each value has a first one
  // here, and all are sent to every new viewer.
  late final LatestSender _orientation = _senderOf(() => _channel.setQuaternion(x: 0, y: 0, z: 0, w: 1));
  late final LatestSender _reference = _senderOf(() => _channel.setBaseRotation(roll: 0, pitch: 0, yaw: 0));
  late final LatestSender _cameraDistance = _senderOf(() => _channel.setCameraDistance(distance: 3.5));
  late final LatestSender _modelScale = _senderOf(() => _channel.setModelScale(scale: 1.2));
  late final List<LatestSender> _senders = <LatestSender>[_orientation, _reference, _cameraDistance, _modelScale];

  late final SampleWatch _watch = SampleWatch(limit: staleAfter, onChange: _publish);
  int _samples = 0;

  int _request = 0; // goes up with each call that overtakes those before it
  bool _isDisposed = false;

  bool _isOpening = false;
  bool _isOpen = false;
  int _width = 0;
  int _height = 0;
  String? _model;
  bool _isRendering = false;
  bool _hasRendered = false; // in the present texture
  OrbiskException? _error;

  /// The identifier for a `Texture` widget; null while there is no texture. Each [open], and each [start] after a
  /// [stop], brings a new one.
  ValueListenable<int?> get textureId => _textureId;

  /// What is missing for a live picture.
  ValueListenable<OrbiskHealth> get health => _health;

  /// Whether there is a viewer.
  bool get isOpen => _isOpen;

  /// Whether the model is being drawn.
  bool get isRendering => _isRendering;

  /// How many orientations have been given, sent and dropped so far.
  OrbiskFigures get figures =>
      OrbiskFigures(samples: _samples, sent: _orientation.sent, superseded: _orientation.superseded);

  /// Makes the viewer and a texture of [width] x [height] **physical** pixels, without a model. A viewer that is open
  /// is closed before.
  ///
  /// The picture is made for 4:3 and stretched by other proportions. Fails with an [ArgumentError] for a side below 1
  /// or for more than 536,870,911 pixels, and with [OrbiskPluginMissingException], [OrbiskInitFailedException],
  /// [OrbiskShaderFailedException] or [OrbiskOvertakenException].
  Future<void> open({int width = 640, int height = 480}) async {
    _checkSize(width, height);
    await _overtakeAndRun((int request) => _create(width, height, request));
  }

  /// Loads the model at [modelPath], a binary glTF file (`.glb`): an asset's key, or a path that is absolute or begins
  /// in the process's working directory. It takes the place of the one that was loaded before, also while rendering.
  ///
  /// Fails with an [ArgumentError] for an empty path, and with [OrbiskNotInitializedException],
  /// [OrbiskLoadFailedException] (no model is loaded then) or [OrbiskOvertakenException].
  Future<void> load(String modelPath) async {
    _checkPath(modelPath);
    await _run((int request) => _load(modelPath, request));
  }

  /// Starts drawing, about 30 frames a second. Nothing happens where it is being drawn already.
  ///
  /// After a [stop] the viewer is made anew, with the same size, model and values, because some drivers refuse a second
  /// start to an old one. Fails with [OrbiskNotInitializedException] or [OrbiskNoModelException], or as [open] and
  /// [load] do.
  Future<void> start() => _run(_start);

  /// Ends drawing. The last frame stays in the texture. Nothing happens where nothing is drawn.
  Future<void> stop() => _run((_) async {
        if (_isRendering) {
          await _channel.stopRendering();
          _isRendering = false;
        }
      });

  /// [open], [load] and [start] in one call, with their arguments and errors. What comes after a step that fails is
  /// left out.
  Future<void> show(String modelPath, {int width = 640, int height = 480}) async {
    _checkSize(width, height);
    _checkPath(modelPath);
    await _overtakeAndRun((int request) async {
      await _create(width, height, request);
      await _load(modelPath, request);
      await _start(request);
    });
  }

  /// Takes texture, viewer and model away; the values stay. Calls that have not ended fail with
  /// [OrbiskOvertakenException]. Nothing happens where nothing is open.
  Future<void> close() async {
    if (!_isDisposed) {
      await _close();
    }
  }

  /// Closes the viewer and ends the controller: [textureId] and [health] no longer tell anything, and every other call
  /// is refused with a [StateError].
  void dispose() {
    if (_isDisposed) {
      return;
    }
    _close().ignore(); // nobody is left to hear of it
    _isDisposed = true;
    _watch.stop();
    for (final LatestSender sender in _senders) {
      sender.close();
    }
    _textureId.dispose();
    _health.dispose();
  }

  /// Turns the model: [orientation] takes the model's coordinates to the viewer's, X right, Y up, Z towards the person.
  /// Of any length; shorter than a millionth is no turn. An `OrientationTransform` makes it of what a sensor reports.
  ///
  /// Throws an [ArgumentError] when it is not finite.
  void setOrientation(Quaternion orientation) {
    if (!orientation.isFinite) {
      throw ArgumentError.value(orientation, 'orientation', 'must be finite');
    }
    _takeSample(
      () => _channel.setQuaternion(x: orientation.x, y: orientation.y, z: orientation.z, w: orientation.w),
    );
  }

  /// Turns the model by [angles], in the plug-in's own order: yaw about Z first, then pitch about Y, then roll about X,
  /// all about the viewer's axes. For the angles of an IMU, which come in the other order, see
  /// [EulerAngles.toQuaternion].
  ///
  /// Throws an [ArgumentError] when they are not finite.
  void setRotation(EulerAngles angles) {
    if (!angles.isFinite) {
      throw ArgumentError.value(angles, 'angles', 'must be finite');
    }
    _takeSample(() => _channel.setRotation(roll: angles.roll, pitch: angles.pitch, yaw: angles.yaw));
  }

  /// Turns the whole scene by [reference] after the model's own turn: what is seen is `reference * orientation`. At
  /// first no turn.
  ///
  /// Throws an [ArgumentError] when it is not finite.
  void setReferenceOrientation(Quaternion reference) {
    if (!reference.isFinite) {
      throw ArgumentError.value(reference, 'reference', 'must be finite');
    }
    // NOTE: the plug-in keeps three angles and turns the scene by Rz(yaw) Ry(roll) Rx(pitch): its pitch is about X, its
    // roll about Y.
    final EulerAngles angles = EulerAngles.of(reference);
    _checkNotDisposed();
    _reference.offer(
      () => _channel.setBaseRotation(roll: angles.pitch, pitch: angles.roll, yaw: angles.yaw),
    );
  }

  /// Sets how far the camera stands from the model's middle, in units of which a fitted model is 1.5 long: 3.5 at
  /// first. The picture shows what is 0.1 to 100 away.
  ///
  /// Throws an [ArgumentError] when it is not finite.
  void setCameraDistance(double distance) {
    _checkFinite(distance, 'distance');
    _checkNotDisposed();
    _cameraDistance.offer(() => _channel.setCameraDistance(distance: distance));
  }

  /// Sets how much larger than fitted the model is: 1.2 at first.
  ///
  /// Throws an [ArgumentError] when it is not finite.
  void setModelScale(double scale) {
    _checkFinite(scale, 'scale');
    _checkNotDisposed();
    _modelScale.offer(() => _channel.setModelScale(scale: scale));
  }

  LatestSender _senderOf(SendValue initial) =>
      LatestSender(initial: initial, interval: updateInterval, onFailure: _noteValueFailure);

  void _takeSample(SendValue value) {
    _checkNotDisposed();
    _samples++;
    _orientation.offer(value);
    _watch.noteSample();
    if (_samples == 1) {
      _publish();
    }
  }

  void _noteValueFailure(Object error, StackTrace stackTrace) {
    if (error is OrbiskException) {
      _error = error;
      _publish();
    } else {
      Zone.current.handleUncaughtError(error, stackTrace);
    }
  }

  Future<void> _overtakeAndRun(Future<void> Function(int request) call) {
    _request++;
    return _run(call);
  }

  // Queues a call. Nothing is told to listeners before its turn, which is never in the middle of a build.
  Future<void> _run(Future<void> Function(int request) call) async {
    _checkNotDisposed();
    final int request = _request;
    await ViewerQueue.shared.run(() async {
      _checkNotOvertaken(request);
      _error = null;
      try {
        await call(request);
      } on OrbiskException catch (error) {
        if (request == _request) {
          _error = error;
        }
        rethrow;
      } finally {
        _isOpening = false;
        _publish();
      }
    });
  }

  Future<void> _close() {
    _request++;
    return ViewerQueue.shared.run(() async {
      _error = null;
      final bool isMine = ViewerQueue.shared.belongsTo(this);
      _letGo();
      _publish();
      if (isMine) {
        ViewerQueue.shared.release();
        await _channel.dispose();
      }
    });
  }

  // "dispose" goes first, always: after a hot restart the plug-in still has the viewer of the isolate that is gone.
  Future<void> _create(int width, int height, int request) async {
    _letGo();
    _isOpening = true;
    _publish();
    await _channel.dispose();
    ViewerQueue.shared.take(this, onLost: _loseViewer);
    _checkNotOvertaken(request);
    final int id;
    try {
      id = await _channel.createTexture(width: width, height: height);
    } on OrbiskException {
      await _channel.dispose(); // what is half built
      rethrow;
    }
    _checkNotOvertaken(request);
    _isOpen = true;
    _width = width;
    _height = height;
    for (final LatestSender sender in _senders) {
      sender.open();
    }
    _textureId.value = id;
  }

  Future<void> _load(String modelPath, int request) async {
    _checkOpen();
    _model = null; // a model that cannot be loaded leaves none
    await _channel.loadModel(modelPath: modelPath);
    _checkNotOvertaken(request);
    _model = modelPath;
  }

  Future<void> _start(int request) async {
    _checkOpen();
    if (_isRendering) {
      return;
    }
    final String? model = _model;
    if (model == null) {
      throw const OrbiskNoModelException();
    }
    if (_hasRendered) {
      await _create(_width, _height, request);
      await _load(model, request);
    }
    await _channel.startRendering();
    _checkNotOvertaken(request);
    _isRendering = true;
    _hasRendered = true;
  }

  void _loseViewer() {
    _request++;
    _letGo();
    _error = const OrbiskOvertakenException();
    _publish();
  }

  // The widget lets go of the identifier before the engine does.
  void _letGo() {
    for (final LatestSender sender in _senders) {
      sender.close();
    }
    _isOpen = false;
    _model = null;
    _isRendering = false;
    _hasRendered = false;
    if (!_isDisposed) {
      _textureId.value = null;
    }
  }

  void _publish() {
    if (!_isDisposed) {
      _health.value = OrbiskHealth(_condition, error: _error);
    }
  }

  OrbiskCondition get _condition {
    if (_isOpening) {
      return OrbiskCondition.opening;
    }
    if (!_isOpen) {
      return OrbiskCondition.noTexture;
    }
    if (_model == null) {
      return OrbiskCondition.noModel;
    }
    if (!_isRendering) {
      return OrbiskCondition.notStarted;
    }
    if (_samples == 0) {
      return OrbiskCondition.noSamples;
    }
    return _watch.isStale ? OrbiskCondition.stale : OrbiskCondition.live;
  }

  void _checkOpen() {
    if (!_isOpen) {
      throw const OrbiskNotInitializedException();
    }
  }

  void _checkNotOvertaken(int request) {
    if (request != _request) {
      throw const OrbiskOvertakenException();
    }
  }

  void _checkNotDisposed() {
    if (_isDisposed) {
      throw StateError('The controller has been disposed of.');
    }
  }

  static void _checkFinite(double value, String name) {
    if (!value.isFinite) {
      throw ArgumentError.value(value, name, 'must be finite');
    }
  }

  static void _checkPath(String modelPath) {
    if (modelPath.isEmpty) {
      throw ArgumentError.value(modelPath, 'modelPath', 'must not be empty');
    }
  }

  static void _checkSize(int width, int height) {
    final bool fits = width <= _mostPixels && height <= _mostPixels && width * height <= _mostPixels;
    if (width < 1 || height < 1 || !fits) {
      throw ArgumentError('A texture of $width x $height pixels: each side is 1 at least, both together have '
          'no more than $_mostPixels pixels');
    }
  }
}
