import 'dart:async';

import 'package:flutter/foundation.dart';
import 'package:flutter/scheduler.dart';
import 'package:flutter/widgets.dart';

import 'orbisk_controller.dart';
import 'orbisk_resolution.dart';
import 'orbisk_view.dart';
import 'orientation_sample.dart';
import 'orientation_smoother.dart';
import 'orientation_transform.dart';
import 'quaternion.dart';

/// A model that turns as a sensor does: all in one widget.
///
/// ```dart
/// Orbisk(model: 'assets/device.glb', orientation: imu.orientations)
/// ```
///
/// For zeroing buttons, figures or a camera of one's own, use an [OrbiskController] with an [OrbiskView].
class Orbisk extends StatefulWidget {
  /// Shows [model], turned by each orientation as soon as it comes.
  ///
  /// Keep the stream: one that is made anew in every build is listened to anew each time.
  const Orbisk({
    super.key,
    required this.model,
    required Stream<Quaternion> this.orientation,
    this.transform = const OrientationTransform(),
    this.staleAfter = const Duration(seconds: 1),
    this.resolution = const OrbiskResolution.fixed(),
    this.fit = OrbiskFit.contain,
    this.placeholderBuilder,
    this.errorBuilder,
    this.overlayBuilder,
    this.semanticsLabel = '3D view of the device',
  })  : samples = null,
        delay = Duration.zero;

  /// Shows [model], turned evenly from frame to frame: samples carry the sensor's own times, and the view shows what
  /// was measured [delay] ago. See [OrientationSmoother].
  const Orbisk.smooth({
    super.key,
    required this.model,
    required Stream<OrientationSample> this.samples,
    this.delay = const Duration(milliseconds: 50),
    this.transform = const OrientationTransform(),
    this.staleAfter = const Duration(seconds: 1),
    this.resolution = const OrbiskResolution.fixed(),
    this.fit = OrbiskFit.contain,
    this.placeholderBuilder,
    this.errorBuilder,
    this.overlayBuilder,
    this.semanticsLabel = '3D view of the device',
  }) : orientation = null;

  /// The model: an asset's key, or a path (see [OrbiskController.load]).
  final String model;

  /// The sensor's axes to the Earth frame, as often as the sensor reports. Values that are not finite are left out;
  /// errors are reported to [FlutterError.onError], and the stream goes on.
  final Stream<Quaternion>? orientation;

  /// As [orientation], with times.
  final Stream<OrientationSample>? samples;

  /// How old the shown orientation is, where there are [samples].
  final Duration delay;

  /// What the sensor refers to, how it sits on the device, and what is shown as no turn.
  final OrientationTransform transform;

  /// How long the sensor may be silent before [overlayBuilder] is told that it is; longer than nothing.
  final Duration staleAfter;

  /// How many pixels are drawn.
  final OrbiskResolution resolution;

  /// What happens in a space that is not 4:3.
  final OrbiskFit fit;

  /// As [OrbiskView.placeholderBuilder].
  final WidgetBuilder? placeholderBuilder;

  /// As [OrbiskView.errorBuilder].
  final OrbiskHealthBuilder? errorBuilder;

  /// As [OrbiskView.overlayBuilder].
  final OrbiskHealthBuilder? overlayBuilder;

  /// What a screen reader says of the picture.
  final String semanticsLabel;

  @override
  State<Orbisk> createState() => _OrbiskState();
}

class _OrbiskState extends State<Orbisk> with SingleTickerProviderStateMixin {
  late OrbiskController _controller;
  late final Ticker _frames;
  final Stopwatch _clock = Stopwatch()..start();
  StreamSubscription<void>? _subscription;
  OrientationSmoother? _smoother;
  Quaternion? _latest;

  @override
  void initState() {
    super.initState();
    _controller = OrbiskController(staleAfter: widget.staleAfter);
    _frames = createTicker((_) => _showSmoothed());
    _listen();
  }

  @override
  void didUpdateWidget(Orbisk oldWidget) {
    super.didUpdateWidget(oldWidget);
    if (widget.staleAfter != oldWidget.staleAfter) {
      _controller.dispose();
      _controller = OrbiskController(staleAfter: widget.staleAfter);
    }
    if (widget.orientation != oldWidget.orientation ||
        widget.samples != oldWidget.samples ||
        widget.delay != oldWidget.delay) {
      _stopListening();
      _listen();
    }
    final Quaternion? latest = _latest;
    if (widget.transform != oldWidget.transform && latest != null) {
      _show(latest);
    }
  }

  @override
  void dispose() {
    _stopListening();
    _frames.dispose();
    _controller.dispose();
    super.dispose();
  }

  void _listen() {
    final Stream<OrientationSample>? samples = widget.samples;
    if (samples == null) {
      _subscription = widget.orientation?.listen(_show, onError: _report);
    } else {
      final OrientationSmoother smoother = OrientationSmoother(delay: widget.delay, staleAfter: widget.staleAfter);
      _smoother = smoother;
      _subscription = samples.listen(
        (OrientationSample sample) {
          if (sample.orientation.isFinite) {
            smoother.add(sample, arrival: _clock.elapsed);
          }
        },
        onError: _report,
      );
      unawaited(_frames.start());
    }
  }

  void _stopListening() {
    unawaited(_subscription?.cancel());
    _subscription = null;
    _smoother = null;
    _frames.stop();
  }

  void _showSmoothed() {
    final Duration now = _clock.elapsed;
    final OrientationSmoother? smoother = _smoother;
    if (smoother == null || smoother.isStaleAt(now)) {
      return; // the controller notices the silence
    }
    final Quaternion? orientation = smoother.orientationAt(now);
    if (orientation != null) {
      _show(orientation);
    }
  }

  void _show(Quaternion orientation) {
    if (orientation.isFinite) {
      _latest = orientation;
      _controller.setOrientation(widget.transform.apply(orientation));
    }
  }

  static void _report(Object error, StackTrace stackTrace) {
    FlutterError.reportError(FlutterErrorDetails(
      exception: error,
      stack: stackTrace,
      library: 'orbisk',
      context: ErrorDescription('while listening to a sensor'),
    ));
  }

  @override
  Widget build(BuildContext context) => OrbiskView(
        controller: _controller,
        model: widget.model,
        resolution: widget.resolution,
        fit: widget.fit,
        placeholderBuilder: widget.placeholderBuilder,
        errorBuilder: widget.errorBuilder,
        overlayBuilder: widget.overlayBuilder,
        semanticsLabel: widget.semanticsLabel,
      );
}
