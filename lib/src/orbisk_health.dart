import 'package:flutter/foundation.dart';

import 'orbisk_exception.dart';

/// How far a controller is on the way to a live picture: the first thing that is missing.
enum OrbiskCondition {
  /// There is no viewer.
  noTexture('No texture: the viewer is not open.'),

  /// A call of `open` or `show` is under way.
  opening('The viewer is being opened.'),

  /// The viewer is open and has no model.
  noModel('No model is loaded.'),

  /// There is a model, and nothing draws it.
  notStarted('Rendering is not started.'),

  /// The model is drawn as it lies in its file: no orientation was ever given.
  noSamples('No orientation has come from the sensor.'),

  /// The model stands still: no orientation was given for the controller's `staleAfter`.
  stale('The sensor has fallen silent: the orientation is old.'),

  /// Nothing is missing.
  live('The picture is live.');

  const OrbiskCondition(this.words);

  /// The condition in a sentence for people.
  final String words;
}

/// What is known about why a picture is missing, as a value and as words.
///
/// It tells what the controller did and what came back. Whether the board really draws, only the plug-in's log says:
/// lines that begin `[Orbisk]` and `[EGLRenderer]` on standard output and standard error.
@immutable
class OrbiskHealth {
  /// The [condition], and the error of the last call where that is the cause.
  const OrbiskHealth(this.condition, {this.error});

  /// The first thing that is missing.
  final OrbiskCondition condition;

  /// What the last call that changes the viewer failed with; null when it did not fail.
  final OrbiskException? error;

  /// Whether the model is being drawn, live or not.
  bool get hasPicture => switch (condition) {
        OrbiskCondition.noSamples || OrbiskCondition.stale || OrbiskCondition.live => true,
        _ => false,
      };

  /// [condition] and [error] in words for people, in English.
  String get words => switch (error) {
        final OrbiskException error => '${condition.words} ${error.message}',
        null => condition.words,
      };

  @override
  bool operator ==(Object other) => other is OrbiskHealth && other.condition == condition && other.error == error;

  @override
  int get hashCode => Object.hash(condition, error);

  @override
  String toString() => 'OrbiskHealth($words)';
}
