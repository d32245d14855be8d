import 'dart:async';

import 'package:flutter/widgets.dart';

import 'orbisk_controller.dart';
import 'orbisk_exception.dart';
import 'orbisk_health.dart';
import 'orbisk_resolution.dart';

/// How the picture, which is made for 4:3, fills a space of other proportions.
enum OrbiskFit {
  /// As large as fits, undistorted, in the middle of the space.
  contain,

  /// The whole space; the picture is stretched.
  fill,
}

/// Builds what an [OrbiskView] shows over the picture or in its place, from what is known about it.
typedef OrbiskHealthBuilder = Widget Function(BuildContext context, OrbiskHealth health);

/// Shows the viewer's texture.
///
/// With a [model] the view does everything: it opens the viewer, loads the model, starts, and closes it all when it
/// goes. It also closes it while it cannot be seen: while the application is not visible, or another page lies over the
/// view's. Without one it only shows what the application does with the [controller].
///
/// The plug-in does not say when it has drawn; so the placeholder goes [firstFrameTime] after rendering has started.
class OrbiskView extends StatefulWidget {
  /// A view of [model], of [controller], or of both.
  const OrbiskView({
    super.key,
    this.controller,
    this.model,
    this.resolution = const OrbiskResolution.fixed(),
    this.fit = OrbiskFit.contain,
    this.filterQuality = FilterQuality.low,
    this.closesWhenHidden = true,
    this.placeholderBuilder,
    this.errorBuilder,
    this.overlayBuilder,
    this.semanticsLabel = '3D view of the device',
  }) : assert(controller != null || model != null, 'Nothing to show: neither a controller nor a model');

  /// Three frames' time, in which the first picture reaches the screen.
  static const Duration firstFrameTime = Duration(milliseconds: 100);

  /// How long a new size must last before the viewer is opened anew for it.
  static const Duration resizeTime = Duration(milliseconds: 500);

  /// Whose texture is shown. Not disposed of by the view. Null: the view makes one of its own.
  final OrbiskController? controller;

  /// The model that the view opens: an asset's key, or a path (see [OrbiskController.load]). Null: the application
  /// opens.
  final String? model;

  /// How many pixels are drawn, where there is a [model].
  final OrbiskResolution resolution;

  /// What happens in a space that is not 4:3.
  final OrbiskFit fit;

  /// How the picture is scaled to its place on the screen.
  final FilterQuality filterQuality;

  /// Whether the view closes the viewer while it cannot be seen, and opens it anew afterwards, where there is a
  /// [model]. It spares the board the drawing; on some drivers each opening costs memory, so false may be better where
  /// the view is hidden often.
  final bool closesWhenHidden;

  /// Builds what is shown until the first frame, and while another view has the viewer. Null: nothing.
  final WidgetBuilder? placeholderBuilder;

  /// Builds what is shown when something has failed: [OrbiskHealth.error] says what. Null: the health's words.
  final OrbiskHealthBuilder? errorBuilder;

  /// Builds what lies over the picture, such as a mark where the sensor has fallen silent ([OrbiskCondition.stale]).
  /// Null: nothing.
  final OrbiskHealthBuilder? overlayBuilder;

  /// What a screen reader says of the picture.
  final String semanticsLabel;

  @override
  State<OrbiskView> createState() => _OrbiskViewState();
}

class _OrbiskViewState extends State<OrbiskView> with WidgetsBindingObserver {
  static const double _aspectRatio = 4 / 3;

  OrbiskController? _ownController;
  bool _isAppVisible = true;
  bool _isOnStage = true;

  // Physical pixels: those that the viewer is open with, and those that the last layout asks for.
  ({int width, int height})? _pixels;
  ({int width, int height})? _wantedPixels;
  Timer? _resize;

  Timer? _firstFrame;
  bool _isFirstFrameDrawn = false;

  OrbiskController get _controller => widget.controller ?? (_ownController ??= OrbiskController());

  @override
  void initState() {
    super.initState();
    WidgetsBinding.instance.addObserver(this);
    _isAppVisible = _showsApp(WidgetsBinding.instance.lifecycleState);
    _listenTo(_controller);
  }

  // Tickers stand still on a page that another one covers.
  @override
  void didChangeDependencies() {
    super.didChangeDependencies();
    _changeVisibility(() => _isOnStage = TickerMode.of(context));
  }

  @override
  void didUpdateWidget(OrbiskView oldWidget) {
    super.didUpdateWidget(oldWidget);
    final OrbiskController? former = oldWidget.controller ?? _ownController;
    final bool isOtherController = former != _controller;
    if (isOtherController && former != null) {
      _stopListeningTo(former);
      _leave(former, drivenByMe: oldWidget.model != null);
      _listenTo(_controller);
    }
    if (widget.resolution != oldWidget.resolution) {
      // The next layout opens.
      _pixels = null;
      _wantedPixels = null;
    }
    if (isOtherController) {
      _open();
    } else if (widget.model != oldWidget.model) {
      _changeModel(oldWidget.model);
    }
  }

  @override
  void didChangeAppLifecycleState(AppLifecycleState state) => _changeVisibility(() => _isAppVisible = _showsApp(state));

  @override
  void dispose() {
    WidgetsBinding.instance.removeObserver(this);
    _resize?.cancel();
    _stopListeningTo(_controller);
    _leave(_controller, drivenByMe: widget.model != null);
    super.dispose();
  }

  // Null before the engine has said anything.
  static bool _showsApp(AppLifecycleState? state) =>
      state == null || state == AppLifecycleState.resumed || state == AppLifecycleState.inactive;

  bool get _isVisible => _isAppVisible && _isOnStage;

  void _changeVisibility(VoidCallback change) {
    final bool wasVisible = _isVisible;
    change();
    if (widget.model == null || _isVisible == wasVisible) {
      return;
    }
    if (!_isVisible && widget.closesWhenHidden) {
      unawaited(_settle(_controller.close()));
    } else if (_isVisible && (widget.closesWhenHidden || !_controller.isOpen)) {
      _open(); // another view may have had the viewer meanwhile
    }
  }

  void _listenTo(OrbiskController controller) {
    controller.textureId.addListener(_showState);
    controller.health.addListener(_showState);
    _noteFirstFrame();
  }

  void _stopListeningTo(OrbiskController controller) {
    controller.textureId.removeListener(_showState);
    controller.health.removeListener(_showState);
    _forgetFirstFrame();
  }

  void _leave(OrbiskController controller, {required bool drivenByMe}) {
    if (controller == _ownController) {
      _ownController = null;
      controller.dispose();
    } else if (drivenByMe) {
      unawaited(_settle(controller.close()));
    }
  }

  void _showState() {
    setState(_noteFirstFrame);
  }

  void _noteFirstFrame() {
    if (!_controller.health.value.hasPicture || _controller.textureId.value == null) {
      _forgetFirstFrame();
    } else if (!_isFirstFrameDrawn) {
      _firstFrame ??= Timer(OrbiskView.firstFrameTime, () => setState(() => _isFirstFrameDrawn = true));
    }
  }

  void _forgetFirstFrame() {
    _firstFrame?.cancel();
    _firstFrame = null;
    _isFirstFrameDrawn = false;
  }

  void _open() {
    final String? model = widget.model;
    final ({int width, int height})? pixels = _pixels;
    final bool isHidden = widget.closesWhenHidden && !_isVisible;
    if (model != null && pixels != null && !isHidden) {
      unawaited(_settle(_controller.show(model, width: pixels.width, height: pixels.height)));
    }
  }

  void _changeModel(String? formerModel) {
    final String? model = widget.model;
    if (model == null) {
      unawaited(_settle(_controller.close()));
    } else if (formerModel != null && _controller.isRendering) {
      unawaited(_settle(_controller.load(model)));
    } else {
      _open();
    }
  }

  // Errors that are not the plug-in's are the program's, and reach the zone.
  static Future<void> _settle(Future<void> call) async {
    try {
      await call;
    } on OrbiskException {
      // In the controller's health, which is shown.
    }
  }

  // Called while building, so what comes of it waits until the frame is done.
  void _wantPixels(({int width, int height})? pixels) {
    if (pixels == null || pixels == _wantedPixels) {
      return;
    }
    _wantedPixels = pixels;
    _resize?.cancel();
    _resize = null;
    final ({int width, int height})? present = _pixels;
    if (present == null) {
      WidgetsBinding.instance.addPostFrameCallback((_) => _takeWantedPixels());
    } else if (!_isNear(pixels, present)) {
      _resize = Timer(OrbiskView.resizeTime, _takeWantedPixels);
    }
  }

  void _takeWantedPixels() {
    if (mounted && _wantedPixels != _pixels) {
      _pixels = _wantedPixels;
      _open();
    }
  }

  // A picture scaled by a quarter is no reason to open the viewer anew.
  static bool _isNear(({int width, int height}) a, ({int width, int height}) b) =>
      4 * (a.width - b.width).abs() <= b.width && 4 * (a.height - b.height).abs() <= b.height;

  @override
  Widget build(BuildContext context) {
    final double devicePixelRatio = MediaQuery.maybeDevicePixelRatioOf(context) ?? 1;
    return LayoutBuilder(
      builder: (BuildContext context, BoxConstraints constraints) {
        final Size size = _sizeIn(constraints, devicePixelRatio);
        _wantPixels(widget.resolution.pixelsFor(size, devicePixelRatio));
        return Center(child: SizedBox.fromSize(size: size, child: _picture(context)));
      },
    );
  }

  // The picture's size on the screen, in logical pixels.
  Size _sizeIn(BoxConstraints constraints, double devicePixelRatio) {
    final bool isBounded = constraints.hasBoundedWidth && constraints.hasBoundedHeight;
    if (isBounded && widget.fit == OrbiskFit.fill) {
      return constraints.biggest;
    }
    if (isBounded || constraints.hasBoundedWidth || constraints.hasBoundedHeight) {
      final double width = constraints.maxWidth < constraints.maxHeight * _aspectRatio
          ? constraints.maxWidth
          : constraints.maxHeight * _aspectRatio;
      return Size(width, width / _aspectRatio);
    }
    return const Size(640, 480) / devicePixelRatio;
  }

  Widget _picture(BuildContext context) {
    final int? textureId = _controller.textureId.value;
    final OrbiskHealth health = _controller.health.value;
    // That another view has the viewer is no failure: it is how pages change.
    final bool hasFailed = health.error != null && health.error is! OrbiskOvertakenException;
    return Stack(
      alignment: Alignment.center,
      fit: StackFit.expand,
      children: <Widget>[
        // Below the placeholder, too: the engine asks for frames only of a texture that it paints.
        if (textureId != null)
          Semantics(
            image: true,
            label: widget.semanticsLabel,
            textDirection: _textDirection(context),
            child: Texture(textureId: textureId, filterQuality: widget.filterQuality),
          ),
        if (hasFailed)
          (widget.errorBuilder ?? _errorWords)(context, health)
        else if (!_isFirstFrameDrawn)
          widget.placeholderBuilder?.call(context) ?? const SizedBox.shrink()
        else
          widget.overlayBuilder?.call(context, health) ?? const SizedBox.shrink(),
      ],
    );
  }

  static TextDirection _textDirection(BuildContext context) => Directionality.maybeOf(context) ?? TextDirection.ltr;

  static Widget _errorWords(BuildContext context, OrbiskHealth health) => Padding(
        padding: const EdgeInsets.all(8),
        child: Center(
          child: SingleChildScrollView(
            child: Text(
              health.words,
              textAlign: TextAlign.center,
              textDirection: _textDirection(context),
            ),
          ),
        ),
      );
}
