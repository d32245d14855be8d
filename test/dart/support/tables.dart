import 'dart:io';

/// The lines of a table in this folder that are no comments. Tests run in the package's folder.
List<String> linesOf(String file) => File('test/dart/$file')
    .readAsLinesSync()
    .where((String line) => line.isNotEmpty && !line.startsWith('#'))
    .toList();

/// The cells of a line; a comma between quotes does not separate.
List<String> cellsOf(String line) {
  final List<String> cells = <String>[''];
  bool isQuoted = false;
  for (final String character in line.split('')) {
    if (character == '"') {
      isQuoted = !isQuoted;
    } else if (character == ',' && !isQuoted) {
      cells.add('');
    } else {
      cells.last += character;
    }
  }
  return cells;
}
