// What Dart sends for each call is what channel_bytes.txt says, which test/flutter/dart_bytes_test.cpp decodes.

import 'package:flutter/services.dart';
import 'package:flutter_test/flutter_test.dart';

import 'support/tables.dart';

Object valueOf(String type, String text) => switch (type) {
      'int32' => int.parse(text),
      'double' => double.parse(text),
      _ => text,
    };

void main() {
  final Map<String, Map<String, Object>> arguments = <String, Map<String, Object>>{};
  final Map<String, List<int>> bytes = <String, List<int>>{};
  String name = '';
  for (final String line in linesOf('channel_bytes.txt')) {
    final List<String> words = line.split('#').first.trim().split(RegExp(' +'));
    switch (words[0]) {
      case 'call':
        name = words[1];
        arguments[name] = <String, Object>{};
        bytes[name] = <int>[];
      case 'argument':
        arguments[name]![words[1]] = valueOf(words[2], words[3]);
      case 'bytes':
        bytes[name]!.addAll(words.skip(1).map((String word) => int.parse(word, radix: 16)));
    }
  }

  for (final String name in arguments.keys) {
    test(name, () {
      final Map<String, Object> values = arguments[name]!;
      final ByteData message =
          const StandardMethodCodec().encodeMethodCall(MethodCall(name, values.isEmpty ? null : values));
      expect(message.buffer.asUint8List(message.offsetInBytes, message.lengthInBytes), bytes[name]);
    });
  }
}
