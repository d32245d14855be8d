// Every Dart file of the package is Dart: it parses without an error.
//
// usage: node dart_parses.mjs PACKAGE_FOLDER GRAMMAR_FOLDER

import fs from 'node:fs';

import {dartFiles, dartParser, nodesOf, placeOf} from './dart_files.mjs';

const [root, grammarFolder] = process.argv.slice(2);
const parse = await dartParser(grammarFolder);

// Else a grammar that takes everything would do.
for (const broken of ['class A {', 'void f() { return 1 }', 'final int = ;']) {
  if (!parse(broken).hasError) throw new Error(`The grammar takes this for Dart: ${broken}`);
}

const files = dartFiles(root, ['lib', 'example', 'test/dart']);
const errors = [];
for (const file of files) {
  const tree = parse(fs.readFileSync(file, 'utf8'));
  for (const node of nodesOf(tree)) {
    if (node.isError || node.isMissing) errors.push(`${placeOf(root, file, node)}: ${node.text.slice(0, 60)}`);
  }
  if (tree.hasError && errors.length === 0) errors.push(`${placeOf(root, file, tree)}: an error`);
}
if (files.length < 20) errors.push(`only ${files.length} files`);
for (const error of errors) console.error(error);
console.log(`${files.length} Dart files, ${errors.length} errors`);
process.exitCode = errors.length === 0 ? 0 : 1;
