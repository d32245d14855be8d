import 'dart:async';

import 'package:flutter/material.dart';
import 'package:flutter/services.dart';
import 'package:orbisk/orbisk.dart';

import 'figures_panel.dart';
import 'health_panel.dart';
import 'imu_run.dart';
import 'labelled_slider.dart';

/// The sample device beside what turns it.
class DevicePage extends StatefulWidget {
  const DevicePage({super.key});

  @override
  State<DevicePage> createState() => _DevicePageState();
}

class _DevicePageState extends State<DevicePage> {
  static const String _model = 'assets/device.glb';
  static const String _run = 'assets/imu_run.csv';

  final OrbiskController _controller = OrbiskController(staleAfter: const Duration(seconds: 1));
  StreamSubscription<OrientationSample>? _subscription;
  OrientationTransform _transform = const OrientationTransform();
  Quaternion _sensor = Quaternion.identity;

  EulerAngles _angles = const EulerAngles();
  double _cameraDistance = 3.5;
  double _modelScale = 1.2;

  @override
  void initState() {
    super.initState();
    unawaited(_playRun());
  }

  @override
  void dispose() {
    unawaited(_subscription?.cancel());
    _controller.dispose();
    super.dispose();
  }

  Future<void> _playRun() async {
    final ImuRun run = ImuRun.parse(await rootBundle.loadString(_run));
    if (mounted && _subscription == null) {
      setState(() => _subscription = run.play().listen((OrientationSample sample) => _show(sample.orientation)));
    }
  }

  void _stopRun() {
    unawaited(_subscription?.cancel());
    setState(() => _subscription = null);
  }

  // In place of a sensor's own callback.
  void _show(Quaternion sensor) {
    _sensor = sensor;
    _controller.setOrientation(_transform.apply(sensor));
  }

  void _turn(EulerAngles angles) {
    setState(() => _angles = angles);
    _show(angles.toQuaternion());
  }

  void _zero(OrientationTransform transform) {
    _transform = transform;
    _show(_sensor);
  }

  void _openAgain() {
    // What it fails with is in the controller's health.
    _controller.show(_model).ignore();
  }

  @override
  Widget build(BuildContext context) => Scaffold(
        body: SafeArea(
          child: Flex(
            direction: MediaQuery.orientationOf(context) == Orientation.landscape ? Axis.horizontal : Axis.vertical,
            children: <Widget>[
              Expanded(flex: 3, child: OrbiskView(controller: _controller, model: _model)),
              Expanded(flex: 2, child: _controls()),
            ],
          ),
        ),
      );

  Widget _controls() {
    final bool isRunning = _subscription != null;
    return ListView(
      padding: const EdgeInsets.all(16),
      children: <Widget>[
        SwitchListTile(
          title: const Text('Recorded run'),
          value: isRunning,
          onChanged: (bool isOn) {
            if (isOn) {
              unawaited(_playRun());
            } else {
              _stopRun();
            }
          },
        ),
        LabelledSlider(
          label: 'Roll',
          value: _angles.roll,
          min: -180,
          max: 180,
          onChanged: isRunning
              ? null
              : (double roll) => _turn(EulerAngles(roll: roll, pitch: _angles.pitch, yaw: _angles.yaw)),
        ),
        LabelledSlider(
          label: 'Pitch',
          value: _angles.pitch,
          min: -90,
          max: 90,
          onChanged: isRunning
              ? null
              : (double pitch) => _turn(EulerAngles(roll: _angles.roll, pitch: pitch, yaw: _angles.yaw)),
        ),
        LabelledSlider(
          label: 'Yaw',
          value: _angles.yaw,
          min: -180,
          max: 180,
          onChanged: isRunning
              ? null
              : (double yaw) => _turn(EulerAngles(roll: _angles.roll, pitch: _angles.pitch, yaw: yaw)),
        ),
        const Divider(),
        Wrap(
          spacing: 8,
          runSpacing: 8,
          children: <Widget>[
            FilledButton(onPressed: () => _zero(_transform.zeroed(_sensor)), child: const Text('Zero')),
            OutlinedButton(
              onPressed: () => _zero(_transform.headingZeroed(_sensor)),
              child: const Text('Zero the heading'),
            ),
            OutlinedButton(
              onPressed: () => _zero(_transform.mountingZeroed(_sensor)),
              child: const Text('Held level'),
            ),
            TextButton(onPressed: () => _zero(_transform.withoutZero()), child: const Text('As measured')),
          ],
        ),
        const Divider(),
        LabelledSlider(
          label: 'Distance',
          value: _cameraDistance,
          min: 1,
          max: 10,
          digits: 1,
          onChanged: (double distance) {
            setState(() => _cameraDistance = distance);
            _controller.setCameraDistance(distance);
          },
        ),
        LabelledSlider(
          label: 'Scale',
          value: _modelScale,
          min: 0.2,
          max: 3,
          digits: 1,
          onChanged: (double scale) {
            setState(() => _modelScale = scale);
            _controller.setModelScale(scale);
          },
        ),
        const Divider(),
        FiguresPanel(controller: _controller),
        const SizedBox(height: 16),
        HealthPanel(controller: _controller, onRetry: _openAgain),
      ],
    );
  }
}
