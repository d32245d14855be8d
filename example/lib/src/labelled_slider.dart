import 'package:flutter/material.dart';

/// A slider with its name before it and its value after it.
class LabelledSlider extends StatelessWidget {
  const LabelledSlider({
    super.key,
    required this.label,
    required this.value,
    required this.min,
    required this.max,
    required this.onChanged,
    this.digits = 0,
  });

  final String label;
  final double value;
  final double min;
  final double max;
  final int digits;

  /// Null: the slider cannot be moved.
  final ValueChanged<double>? onChanged;

  @override
  Widget build(BuildContext context) => Row(
        children: <Widget>[
          SizedBox(width: 72, child: Text(label)),
          Expanded(
            child: Slider(
              value: value,
              min: min,
              max: max,
              onChanged: onChanged,
              semanticFormatterCallback: (double value) => '$label ${value.toStringAsFixed(digits)}',
            ),
          ),
          SizedBox(width: 48, child: Text(value.toStringAsFixed(digits), textAlign: TextAlign.end)),
        ],
      );
}
