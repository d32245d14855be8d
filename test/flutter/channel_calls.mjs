// Every call on the channel in lib/ is one of the plug-in's commands, with its keys and with values of its types. The
// plug-in converts nothing and does not answer a value of another type.
//
// usage: node channel_calls.mjs PACKAGE_FOLDER GRAMMAR_FOLDER ORBISK_PRINT_COMMANDS
//
// A call is looked for as `x.invokeMethod<T>('name', <String, T>{'key': value, ...})`. The values are parameters of the
// function around it, so their types are known without a compiler. Anything else that could reach a channel is an
// error.

import assert from 'node:assert/strict';
import {execFileSync} from 'node:child_process';
import fs from 'node:fs';

import {dartFiles, dartParser, nodesOf, placeOf} from './dart_files.mjs';

// A reference orientation goes as angles: as a quaternion the plug-in would turn it about exchanged axes.
const NOT_USED = ['setBaseQuaternion'];
const DART_TYPES = {int32: 'int', double: 'double', string: 'String'};
const OTHER_WAYS = ['BasicMessageChannel', 'BinaryMessenger', 'EventChannel', 'OptionalMethodChannel',
  'invokeListMethod', 'invokeMapMethod'];

const [root, grammarFolder, printCommands] = process.argv.slice(2);
const parse = await dartParser(grammarFolder);
const commands = new Map(JSON.parse(execFileSync(printCommands)).map((command) => [command.name, command]));

const childOf = (node, type) => node.namedChildren.find((child) => child.type === type);
const stringOf = (node, where) => {
  assert.equal(node?.type, 'string_literal', `${where}: no string literal`);
  return node.text.slice(1, -1);
};

// The types of the parameters of the function that `node` lies in.
function parametersAround(node) {
  let body = node;
  while (body.type !== 'function_body') body = body.parent;
  const parameters = new Map();
  for (const parameter of nodesOf(body.previousNamedSibling)) {
    if (parameter.type !== 'formal_parameter') continue;
    const name = parameter.childForFieldName('name').text;
    parameters.set(name, childOf(parameter, 'type_identifier').text);
  }
  return parameters;
}

function argumentsOf(map, where) {
  if (map === undefined) return [];
  assert.equal(map.type, 'set_or_map_literal', `${where}: the arguments are no map`);
  const parameters = parametersAround(map);
  const valueType = childOf(map, 'type_arguments').namedChildren[1].text;
  return map.namedChildren.filter((child) => child.type !== 'type_arguments').map((pair) => {
    assert.equal(pair.type, 'pair', `${where}: ${pair.text} is no pair`);
    const value = pair.childForFieldName('value');
    assert.equal(value.type, 'identifier', `${where}: ${value.text} is no parameter`);
    const type = parameters.get(value.text);
    assert.equal(type, valueType, `${where}: ${value.text} has another type than the map's values`);
    return {key: stringOf(pair.childForFieldName('key'), where), type};
  });
}

const found = [];
for (const file of dartFiles(root, ['lib'])) {
  for (const node of nodesOf(parse(fs.readFileSync(file, 'utf8')))) {
    if (!['identifier', 'type_identifier'].includes(node.type)) continue;
    const where = placeOf(root, file, node);
    assert.ok(!OTHER_WAYS.includes(node.text), `${where}: ${node.text}`);
    if (node.text === 'MethodChannel' && node.parent.type !== 'declaration') {  // there it is a field's type
      assert.equal(node.nextNamedSibling.text, "('orbisk')", where);
    }
    if (node.text !== 'invokeMethod') continue;

    const selector = node.parent.parent;
    assert.equal(selector.type, 'selector', `${where}: ${selector.text}`);
    if (selector.parent.type === 'relational_expression') {
      // The grammar takes a<b>('c') for two comparisons.
      let comparison = selector.parent;
      while (comparison.parent.type !== 'argument') comparison = comparison.parent;
      const name = /^_channel\.invokeMethod<bool>\('(\w+)'\)$/.exec(comparison.text);
      assert.ok(name, `${where}: ${comparison.text}`);
      found.push({where, name: name[1], arguments: []});
      continue;
    }
    const call = childOf(selector.nextNamedSibling, 'argument_part');
    const values = childOf(call, 'arguments').namedChildren.map((argument) => argument.namedChildren[0]);
    const [name, map, ...others] = values;
    assert.equal(others.length, 0, where);
    found.push({where, name: stringOf(name, where), arguments: argumentsOf(map, where)});
  }
}

for (const call of found) {
  const command = commands.get(call.name);
  assert.ok(command, `${call.where}: the plug-in has no command ${call.name}`);
  const expected = command.arguments.map(({key, type}) => ({key, type: DART_TYPES[type]}));
  assert.deepEqual(call.arguments, expected, `${call.where}: ${call.name}`);
  console.log(`${call.where}: ${call.name}(${call.arguments.map(({key, type}) => `${type} ${key}`).join(', ')})`);
}
const names = found.map((call) => call.name);
assert.deepEqual([...names, ...NOT_USED].sort(), [...commands.keys()].sort(), 'which commands are called, once each');
