import 'package:flutter/services.dart';

import 'orbisk_exception.dart';

/// The plug-in's commands, as Dart calls them one by one. Each fails with an [OrbiskException].
///
/// The plug-in takes each value in its exact type and does not answer at all where it finds another one. So the types
/// of the parameters here are those on the channel: a double is one there too, and an int must fit into 32 bits.
class OrbiskChannel {
  /// The one channel of the process.
  const OrbiskChannel();

  static const MethodChannel _channel = MethodChannel('orbisk');

  /// Makes the viewer and its texture, both sides in pixels, and returns the texture's identifier.
  Future<int> createTexture({required int width, required int height}) async {
    final int? id = await _answerOf(
      _channel.invokeMethod<int>('createTexture', <String, int>{'width': width, 'height': height}),
    );
    if (id == null || id < 0) {
      throw const OrbiskInitFailedException('The engine registered no texture.');
    }
    return id;
  }

  /// Loads a model file.
  Future<void> loadModel({required String modelPath}) =>
      _answerOf(_channel.invokeMethod<bool>('loadModel', <String, String>{'modelPath': modelPath}));

  /// Starts drawing.
  Future<void> startRendering() => _answerOf(_channel.invokeMethod<bool>('startRendering'));

  /// Ends drawing.
  Future<void> stopRendering() => _answerOf(_channel.invokeMethod<bool>('stopRendering'));

  /// Takes texture, renderer and model away. Nothing happens where there are none.
  Future<void> dispose() => _answerOf(_channel.invokeMethod<bool>('dispose'));

  /// Turns the model.
  Future<void> setQuaternion({required double x, required double y, required double z, required double w}) =>
      _answerOf(_channel.invokeMethod<bool>('setQuaternion', <String, double>{'x': x, 'y': y, 'z': z, 'w': w}));

  /// Turns the model by angles in degrees: qx(roll) qy(pitch) qz(yaw).
  Future<void> setRotation({required double roll, required double pitch, required double yaw}) => _answerOf(
        _channel.invokeMethod<bool>('setRotation', <String, double>{'roll': roll, 'pitch': pitch, 'yaw': yaw}),
      );

  /// Turns the scene by angles in degrees: Rz(yaw) Ry(roll) Rx(pitch), pitch about X and roll about Y.
  Future<void> setBaseRotation({required double roll, required double pitch, required double yaw}) => _answerOf(
        _channel.invokeMethod<bool>('setBaseRotation', <String, double>{'roll': roll, 'pitch': pitch, 'yaw': yaw}),
      );

  /// Moves the camera.
  Future<void> setCameraDistance({required double distance}) =>
      _answerOf(_channel.invokeMethod<bool>('setCameraDistance', <String, double>{'distance': distance}));

  /// Scales the model.
  Future<void> setModelScale({required double scale}) =>
      _answerOf(_channel.invokeMethod<bool>('setModelScale', <String, double>{'scale': scale}));

  static Future<T?> _answerOf<T>(Future<T?> call) async {
    try {
      return await call;
    } on MissingPluginException {
      throw const OrbiskPluginMissingException();
    } on PlatformException catch (error) {
      throw _typed(error.code, error.message ?? '');
    }
  }

  static OrbiskException _typed(String code, String message) => switch (code) {
        'INVALID_ARGS' => OrbiskInvalidArgumentsException(message),
        'NOT_INITIALIZED' => OrbiskNotInitializedException(message),
        'INIT_FAILED' => OrbiskInitFailedException(message),
        'SHADER_FAILED' => OrbiskShaderFailedException(message),
        'LOAD_FAILED' => OrbiskLoadFailedException(message),
        'NO_MODEL' => OrbiskNoModelException(message),
        _ => OrbiskUnknownException(code, message),
      };
}
