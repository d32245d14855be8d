// The package's Dart files, as syntax trees.

import fs from 'node:fs';
import {createRequire} from 'node:module';
import path from 'node:path';
import {pathToFileURL} from 'node:url';

/// A function that parses a Dart text. `grammarFolder` is where install_grammar.sh has put the grammar.
export async function dartParser(grammarFolder) {
  const require = createRequire(pathToFileURL(path.resolve(grammarFolder, 'package.json')));
  const {Language, Parser} = require('web-tree-sitter');
  await Parser.init();
  const parser = new Parser();
  parser.setLanguage(await Language.load(require.resolve('tree-sitter-wasms/out/tree-sitter-dart.wasm')));
  return (text) => parser.parse(text).rootNode;
}

/// The paths of all Dart files below some folders of the package.
export function dartFiles(root, folders) {
  return folders.flatMap((folder) => filesBelow(path.join(root, folder))).filter((file) => file.endsWith('.dart'));
}

function filesBelow(folder) {
  return fs.readdirSync(folder, {withFileTypes: true}).flatMap((entry) => {
    const file = path.join(folder, entry.name);
    return entry.isDirectory() ? filesBelow(file) : [file];
  });
}

/// A node and all below it.
export function* nodesOf(node) {
  yield node;
  for (const child of node.children) yield* nodesOf(child);
}

/// "lib/src/x.dart:12", for a node of a file.
export function placeOf(root, file, node) {
  return `${path.relative(root, file)}:${node.startPosition.row + 1}`;
}
