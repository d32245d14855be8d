// Runs Dart tests without a Dart SDK: translates a test's file, what it has in support/, and the classes below lib/src
// that are no widgets, and runs its cases. `flutter test` is the judge; this finds what is wrong where there is no SDK.
//
// usage: node run_tests.mjs PACKAGE_FOLDER GRAMMAR_FOLDER TEST...

import fs from 'node:fs';
import path from 'node:path';

import {dartFiles, dartParser} from '../dart_files.mjs';
import * as runtime from './runtime.mjs';
import {Translator} from './translate.mjs';

const WIDGETS = /orbisk_(view|widget|resolution)\.dart$/;

const [root, grammarFolder, ...files] = process.argv.slice(2);
const parse = await dartParser(grammarFolder);
process.chdir(root);

// Type arguments of calls say nothing here, and the grammar sometimes takes them for comparisons. isA's is a value.
const TYPE_ARGUMENTS = /\b([A-Za-z_]\w*)<(?:[\w?, ()]|<[\w?, ]*>)*>(?=[(.])/g;
const withoutTypeArguments = (text) => text.replace(/isA<(\w+)>\(\)/g, "isA('$1')").replace(TYPE_ARGUMENTS, '$1');

function program(file) {
  const sources = [...dartFiles('.', ['lib/src', 'test/dart/support']).filter((one) => !WIDGETS.test(one)), file];
  const trees = sources.map((source) => [source, parse(withoutTypeArguments(fs.readFileSync(source, 'utf8')))]);
  const names = Object.keys(runtime);
  const code = new Translator(runtime).translate(trees);
  return new Function('runtime', `const {${names.join(', ')}} = runtime;\n${code}\nmain();`);
}

async function run(test) {
  const uncaught = [];
  const note = (error) => uncaught.push(error);
  process.on('unhandledRejection', note);
  runtime.Timer.pending = [];
  try {
    for (const setUp of test.setUps) await setUp();
    await test.body();
  } catch (error) {
    note(error);
  }
  for (const tearDown of test.tearDowns) await tearDown();
  await runtime.pumpEventQueue();
  process.off('unhandledRejection', note);
  if (runtime.Timer.pending.length > 0) note(new Error('a timer is still pending'));
  return uncaught[0];
}

let failures = 0;
for (const file of files) {
  runtime.$tests.length = 0;
  program(file)(runtime);
  for (const test of runtime.$tests) {
    const error = await run(test);
    if (error) console.error(`FAILED ${path.basename(file)}: ${test.name}\n    ${error.stack ?? error}`);
    if (error) failures++;
  }
  console.log(`${path.basename(file)}: ${runtime.$tests.length} tests`);
  if (runtime.$tests.length === 0) failures++;
}
process.exitCode = failures === 0 ? 0 : 1;
