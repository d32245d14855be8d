import 'package:flutter/foundation.dart';

/// How many orientations a controller has been given, and what became of them. Counted from the controller's making on.
@immutable
class OrbiskFigures {
  /// These counts.
  const OrbiskFigures({required this.samples, required this.sent, required this.superseded});

  /// Orientations given to the controller.
  final int samples;

  /// Orientations sent to the plug-in. One that is sent again to a viewer that was opened anew counts again.
  final int sent;

  /// Orientations that a newer one replaced while they waited to be sent.
  final int superseded;

  @override
  bool operator ==(Object other) =>
      other is OrbiskFigures && other.samples == samples && other.sent == sent && other.superseded == superseded;

  @override
  int get hashCode => Object.hash(samples, sent, superseded);

  @override
  String toString() => 'OrbiskFigures(samples: $samples, sent: $sent, superseded: $superseded)';
}
