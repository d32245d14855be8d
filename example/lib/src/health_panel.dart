import 'package:flutter/material.dart';
import 'package:orbisk/orbisk.dart';

/// How the viewer is, in words; where something has failed, also a button to try again.
class HealthPanel extends StatelessWidget {
  const HealthPanel({super.key, required this.controller, required this.onRetry});

  final OrbiskController controller;
  final VoidCallback onRetry;

  @override
  Widget build(BuildContext context) => ValueListenableBuilder<OrbiskHealth>(
        valueListenable: controller.health,
        builder: (BuildContext context, OrbiskHealth health, Widget? child) {
          final bool hasFailed = health.error != null;
          final ColorScheme colours = Theme.of(context).colorScheme;
          return Card(
            color: hasFailed ? colours.errorContainer : null,
            child: ListTile(
              leading: Icon(hasFailed ? Icons.error_outline : Icons.info_outline),
              title: Text(health.condition.words),
              subtitle: hasFailed ? Text(health.error!.message) : null,
              trailing: hasFailed ? TextButton(onPressed: onRetry, child: const Text('Try again')) : null,
            ),
          );
        },
      );
}
