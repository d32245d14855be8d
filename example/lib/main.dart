import 'package:flutter/material.dart';

import 'src/device_page.dart';

void main() => runApp(const SampleDeviceApp());

/// The sample device, and what one can do with it.
class SampleDeviceApp extends StatelessWidget {
  const SampleDeviceApp({super.key});

  @override
  Widget build(BuildContext context) => MaterialApp(
        title: 'Orbisk',
        theme: ThemeData(colorSchemeSeed: Colors.blueGrey, brightness: Brightness.dark, useMaterial3: true),
        home: const DevicePage(),
      );
}
