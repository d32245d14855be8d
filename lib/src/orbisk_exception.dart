/// Why a call of the controller's failed: one class for each error of the plug-in, one for a plug-in that is not there,
/// and one for a call that a later one has overtaken.
sealed class OrbiskException implements Exception {
  const OrbiskException._(this.message);

  /// What happened, in a sentence for people.
  final String message;

  /// The plug-in's code, such as `LOAD_FAILED`; null where the plug-in did not answer.
  String? get code;

  @override
  String toString() => '$runtimeType: $message';
}

/// The plug-in is not part of the running application.
final class OrbiskPluginMissingException extends OrbiskException {
  /// Nobody answers the channel.
  const OrbiskPluginMissingException()
      : super._('The native side of Orbisk does not answer. The application runs without liborbisk_plugin.so, or was '
            'built before the package was added: add `orbisk` to its pubspec.yaml, stop it, and build it anew with the '
            'tooling for embedded Linux. A hot restart does not load native code. On other platforms and in widget '
            'tests there is no native side.');

  @override
  String? get code => null;
}

/// Another `open`, `show` or `close` came after this call and before its end, or another controller took the viewer.
final class OrbiskOvertakenException extends OrbiskException {
  /// The call was overtaken.
  const OrbiskOvertakenException()
      : super._('A later call has overtaken this one: the viewer was closed or opened anew.');

  @override
  String? get code => null;
}

/// `INVALID_ARGS`: the plug-in misses an argument. The plug-in's library is of another version than this package.
final class OrbiskInvalidArgumentsException extends OrbiskException {
  /// With the plug-in's own [message].
  const OrbiskInvalidArgumentsException(super.message) : super._();

  @override
  String get code => 'INVALID_ARGS';
}

/// `NOT_INITIALIZED`: there is no viewer. `open` or `show` comes first.
final class OrbiskNotInitializedException extends OrbiskException {
  /// With the plug-in's own [message], or this package's.
  const OrbiskNotInitializedException([super.message = 'The viewer is not open: call open or show first.']) : super._();

  @override
  String get code => 'NOT_INITIALIZED';
}

/// `INIT_FAILED`: no renderer of this size on this board. The plug-in's log on standard error says which step failed.
final class OrbiskInitFailedException extends OrbiskException {
  /// With the plug-in's own [message], or this package's.
  const OrbiskInitFailedException(super.message) : super._();

  @override
  String get code => 'INIT_FAILED';
}

/// `SHADER_FAILED`: the driver refuses the shaders. The plug-in's log on standard error has the driver's words.
final class OrbiskShaderFailedException extends OrbiskException {
  /// With the plug-in's own [message].
  const OrbiskShaderFailedException(super.message) : super._();

  @override
  String get code => 'SHADER_FAILED';
}

/// `LOAD_FAILED`: no model at this path, or none that can be decoded. What was loaded before is gone.
final class OrbiskLoadFailedException extends OrbiskException {
  /// With the plug-in's own [message], which holds what the model loader said.
  const OrbiskLoadFailedException(super.message) : super._();

  @override
  String get code => 'LOAD_FAILED';
}

/// `NO_MODEL`: there is nothing to draw. `load` comes first.
final class OrbiskNoModelException extends OrbiskException {
  /// With the plug-in's own [message], or this package's.
  const OrbiskNoModelException([super.message = 'No model is loaded: call load first.']) : super._();

  @override
  String get code => 'NO_MODEL';
}

/// An error that this package does not know: the plug-in's library is of another version.
final class OrbiskUnknownException extends OrbiskException {
  /// With the plug-in's own [code] and [message].
  const OrbiskUnknownException(this.code, super.message) : super._();

  @override
  final String code;
}
