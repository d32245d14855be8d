import 'dart:math' as math;
import 'dart:ui';

import 'package:flutter/foundation.dart';

/// How many pixels an `OrbiskView` asks the plug-in for.
@immutable
class OrbiskResolution {
  /// Always [width] x [height] physical pixels, whatever the size on the screen. Both 1 at least.
  const OrbiskResolution.fixed({int width = 640, int height = 480})
      : _width = width,
        _height = height,
        _maxWidth = null;

  /// As many physical pixels as the view covers on the screen, so that the picture is sharp: its logical size times the
  /// device pixel ratio, but no more than [maxWidth] (1 at least) in width. Drawing and copying a frame cost in
  /// proportion to its pixels.
  const OrbiskResolution.device({int maxWidth = 1280})
      : _width = 0,
        _height = 0,
        _maxWidth = maxWidth;

  final int _width;
  final int _height;
  final int? _maxWidth;

  /// The physical pixels for a view of [logicalSize] on a screen of [devicePixelRatio]; null where the view covers
  /// none.
  ({int width, int height})? pixelsFor(Size logicalSize, double devicePixelRatio) {
    final int? maxWidth = _maxWidth;
    if (maxWidth == null) {
      return (width: _width, height: _height);
    }
    final double width = logicalSize.width * devicePixelRatio;
    final double height = logicalSize.height * devicePixelRatio;
    if (!width.isFinite || !height.isFinite || width < 1 || height < 1) {
      return null;
    }
    final double scale = math.min(1, maxWidth / width);
    return (width: math.max(1, (width * scale).round()), height: math.max(1, (height * scale).round()));
  }

  @override
  bool operator ==(Object other) =>
      other is OrbiskResolution &&
      other._width == _width &&
      other._height == _height &&
      other._maxWidth == _maxWidth;

  @override
  int get hashCode => Object.hash(_width, _height, _maxWidth);
}
