import 'dart:async';

import 'package:flutter/material.dart';
import 'package:orbisk/orbisk.dart';

/// What went through a controller in the last second.
class FiguresPanel extends StatefulWidget {
  const FiguresPanel({super.key, required this.controller});

  final OrbiskController controller;

  @override
  State<FiguresPanel> createState() => _FiguresPanelState();
}

class _FiguresPanelState extends State<FiguresPanel> {
  late final Timer _seconds;
  late OrbiskFigures _before;
  OrbiskFigures _inOneSecond = const OrbiskFigures(samples: 0, sent: 0, superseded: 0);

  @override
  void initState() {
    super.initState();
    _before = widget.controller.figures;
    _seconds = Timer.periodic(const Duration(seconds: 1), (_) => _count());
  }

  @override
  void dispose() {
    _seconds.cancel();
    super.dispose();
  }

  void _count() {
    final OrbiskFigures now = widget.controller.figures;
    setState(() {
      _inOneSecond = OrbiskFigures(
        samples: now.samples - _before.samples,
        sent: now.sent - _before.sent,
        superseded: now.superseded - _before.superseded,
      );
    });
    _before = now;
  }

  @override
  Widget build(BuildContext context) => Column(
        crossAxisAlignment: CrossAxisAlignment.start,
        children: <Widget>[
          Text('samples a second: ${_inOneSecond.samples}'),
          Text('updates sent: ${_inOneSecond.sent}'),
          Text('dropped as superseded: ${_inOneSecond.superseded}'),
        ],
      );
}
