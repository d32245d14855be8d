// What translated Dart calls: its operators, and as much of Dart's libraries, of Flutter's foundation and services, and
// of flutter_test as this package's classes and their tests use. Numbers are all doubles.

import fs from 'node:fs';

// Operators, which classes may define

const ofNumbers = (operation, method) => (a, b) => (typeof a === 'object' ? a[method](b) : operation(a, b));
const ordered = (holds) => (a, b) => (typeof a === 'object' ? holds(a.$compare(b)) : holds(a - b));

export const $add = ofNumbers((a, b) => a + b, '$add');
export const $subtract = ofNumbers((a, b) => a - b, '$subtract');
export const $multiply = ofNumbers((a, b) => a * b, '$multiply');
export const $divide = ofNumbers((a, b) => a / b, '$divide');
export const $divideWhole = ofNumbers((a, b) => Math.trunc(a / b), '$divideWhole');
export const $modulo = (a, b) => ((a % b) + b) % b;
export const $shiftLeft = (a, b) => a * 2 ** b;
export const $negate = (a) => (typeof a === 'object' ? a.$negate() : -a);
export const $less = ordered((difference) => difference < 0);
export const $greater = ordered((difference) => difference > 0);
export const $lessOrEqual = ordered((difference) => difference <= 0);
export const $greaterOrEqual = ordered((difference) => difference >= 0);
export const $equal = (a, b) => (a ?? null) === (b ?? null) || (typeof a?.$equal === 'function' && a.$equal(b));
export const $unequal = (a, b) => !$equal(a, b);
export const identical = (a, b) => a === b;

// The rest of the language

let classes = {};
/// The classes of the program, for type tests.
export const $know = (all) => { classes = all; };
export function $is(value, type) {
  switch (type) {
    case 'double': case 'int': return typeof value === 'number';
    case 'String': return typeof value === 'string';
    default: return value instanceof (classes[type] ?? LIBRARY[type]);
  }
}
export const $create = (type) => Object.create(type.prototype);
export const $throw = (error) => { throw error; };
export const $text = (value) => String(value ?? 'null');
export const $cascade = (target, work) => { work(target); return target; };
export const $at = (target, key) => (target instanceof Map ? target.get(key) ?? null : target[key]);
export const $setAt = (target, key, value) => (target instanceof Map ? target.set(key, value) : target[key] = value);
/// A method as a value: the same one each time.
export const $bound = (target, method) => (target[`$bound_${method}`] ??= target[method].bind(target));
/// A field whose value is worked out when it is first asked for.
export function $late(target, field, work) {
  const settle = (value) => Object.defineProperty(target, field, {value, writable: true});
  Object.defineProperty(target, field, {
    configurable: true, get: () => { settle(work()); return target[field]; }, set: settle,
  });
}
export function $enumValue(type, name, index, init, values) {
  const value = Object.assign(Object.create(type.prototype), {toString: () => `${type.name}.${name}`});
  init(value, ...values);
  (type.$values ??= []).push(Object.assign(value, {name, index}));
  return value;
}
export const $enumValues = ({$values: values}) =>
  Object.assign(values, {byName: (name) => values.find((value) => value.name === name)});

class DartMap extends Map {
  get isEmpty() { return this.size === 0; }
  get keys() { return [...super.keys()]; }
  get values() { return [...super.values()]; }
  get entries() { return [...super.entries()].map(([key, value]) => ({key, value})); }
  [Symbol.iterator]() { return super.entries(); }
  remove(key) { const value = this.get(key); this.delete(key); return value; }
  $equal(other) {
    return other instanceof Map && this.size === other.size &&
        this.keys.every((key) => $equal(this.get(key), other.get(key)));
  }
  toString() { return `{${this.entries.map(({key, value}) => `${key}: ${value}`).join(', ')}}`; }
}
export const $map = (entries) => new DartMap(entries);

const extend = (type, members) => {
  for (const [name, member] of Object.entries(Object.getOwnPropertyDescriptors(members))) {
    Object.defineProperty(type.prototype, name, {...member, enumerable: false});
  }
};
extend(Number, {
  get isFinite() { return Number.isFinite(+this); },
  get isEven() { return this % 2 === 0; },
  abs() { return Math.abs(this); },
  round() { return Math.round(this); },
  toDouble() { return +this; },
});
extend(String, {get isEmpty() { return this.length === 0; }, get isNotEmpty() { return this.length > 0; }});
extend(Array, {
  get isEmpty() { return this.length === 0; },
  get isNotEmpty() { return this.length > 0; },
  get first() { return this[0]; },
  get last() { return this.at(-1); },
  set last(value) { this[this.length - 1] = value; },
  get single() { return this.length === 1 ? this[0] : $throw(new Error(`${this.length} elements`)); },
  add(value) { this.push(value); },
  addAll(values) { this.push(...values); },
  clear() { this.length = 0; },
  removeAt(index) { return this.splice(index, 1)[0]; },
  skip(count) { return this.slice(count); },
  toList() { return this; },
  where(holds) { return this.filter((value) => holds(value)); },
});
extend(Promise, {ignore() { this.catch(() => {}); }});

// dart:core, dart:async, dart:collection, dart:io, dart:math

const {sqrt, sin, cos, asin, atan2} = Math;
export const math = {sqrt, sin, cos, asin, atan2, pi: Math.PI, sqrt2: Math.SQRT2, sqrt1_2: Math.SQRT1_2};
export const double = {
  parse: (text) => (text.trim() === '' || isNaN(text) ? $throw(FormatException.$new(text)) : Number(text)),
  nan: NaN,
  infinity: Infinity,
  negativeInfinity: -Infinity,
};
export const int = {parse: (text, {radix = 10} = {}) => parseInt(text, radix)};
const hashing = {hash: (...values) => values.join()};
export {hashing as Object};
export const unawaited = () => {};

export class Duration {
  constructor(inMicroseconds) { this.inMicroseconds = inMicroseconds; }
  static $new({microseconds = 0, milliseconds = 0, seconds = 0}) {
    return new Duration(microseconds + 1e3 * milliseconds + 1e6 * seconds);
  }
  static zero = new Duration(0);
  get isNegative() { return this.inMicroseconds < 0; }
  $add(other) { return new Duration(this.inMicroseconds + other.inMicroseconds); }
  $subtract(other) { return new Duration(this.inMicroseconds - other.inMicroseconds); }
  $negate() { return new Duration(-this.inMicroseconds); }
  $divideWhole(divisor) { return new Duration(Math.trunc(this.inMicroseconds / divisor)); }
  $compare(other) { return this.inMicroseconds - other.inMicroseconds; }
  $equal(other) { return this.inMicroseconds === other?.inMicroseconds; }
}

/// Time passes when a test says so.
export class Timer {
  static now = 0;
  static pending = [];
  constructor(after, work, every) {
    Object.assign(this, {at: Timer.now + after, work, every});
    Timer.pending.push(this);
  }
  static $new(after, work) { return new Timer(after.inMicroseconds, work, 0); }
  static $new_periodic(after, work) { return new Timer(after.inMicroseconds, work, after.inMicroseconds); }
  cancel() { Timer.pending = Timer.pending.filter((timer) => timer !== this); }
  static async elapse(duration) {
    await pumpEventQueue();
    const end = Timer.now + duration.inMicroseconds;
    for (;;) {
      const [next] = Timer.pending.filter((timer) => timer.at <= end).sort((a, b) => a.at - b.at);
      if (!next) break;
      Timer.now = next.at;
      if (next.every > 0) next.at += next.every;
      else next.cancel();
      next.work(next);
      await pumpEventQueue();
    }
    Timer.now = end;
  }
}
/// Lets everything happen that needs no time.
export async function pumpEventQueue() {
  for (let i = 0; i < 20; i++) await new Promise((resolve) => { setImmediate(resolve); });
}

export class Completer {
  constructor() {
    this.future = new Promise((complete, completeError) => { Object.assign(this, {complete, completeError}); });
  }
  static $new() { return new Completer(); }
}
export class ListQueue extends Array {
  static $new() { return new ListQueue(); }
  addLast(value) { this.push(value); }
  removeFirst() { return this.shift(); }
  elementAt(index) { return this[index]; }
}
/// In the package's folder.
export class File {
  static $new(path) { return Object.assign(new File(), {path}); }
  readAsLinesSync() { return fs.readFileSync(this.path, 'utf8').trimEnd().split('\n'); }
}

class Failure {
  static $new(message) { return Object.assign(new this(), {message}); }
  toString() { return `${this.constructor.name}: ${this.message}`; }
}
export class ArgumentError extends Failure {
  static $new_value(value, name, message) { return ArgumentError.$new(`${name} ${message}: ${value}`); }
}
export class StateError extends Failure {}
export class FormatException extends Failure {}

// package:flutter/foundation.dart, services.dart

export class ValueNotifier {
  #listeners = [];
  #isDisposed = false;
  static $new(value) { const it = new ValueNotifier(); it.$value = value; return it; }
  get value() { return this.$value; }
  set value(value) {
    if (this.#isDisposed) throw new Error('A notifier is used after it was disposed of');
    if ($equal(this.$value, value)) return;
    this.$value = value;
    for (const listener of [...this.#listeners]) if (this.#listeners.includes(listener)) listener();
  }
  addListener(listener) { this.#listeners.push(listener); }
  removeListener(listener) { this.#listeners = this.#listeners.filter((other) => other !== listener); }
  dispose() { this.#isDisposed = true; this.#listeners = []; }
}
export class PlatformException extends Failure {
  static $new({code, message = null}) { return Object.assign(new PlatformException(), {code, message}); }
}
export class MissingPluginException extends Failure {}
export class MethodCall {
  static $new(method, values = null) { return Object.assign(new MethodCall(), {method, arguments$: values}); }
}
let mockHandler = null;
export class MethodChannel {
  static $new() { return new MethodChannel(); }
  async invokeMethod(method, values = null) {
    await null;
    return mockHandler ? mockHandler(MethodCall.$new(method, values)) : $throw(MissingPluginException.$new());
  }
}
export const Zone = {current: {handleUncaughtError: $throw}};

// package:flutter_test/flutter_test.dart

export const TestWidgetsFlutterBinding = {ensureInitialized() {}};
export const TestDefaultBinaryMessengerBinding =
  {instance: {defaultBinaryMessenger: {setMockMethodCallHandler(channel, handler) { mockHandler = handler; }}}};

/// All tests of the program.
export const $tests = [];
let present = {name: '', setUps: [], tearDowns: []};
export function group(name, body) {
  const outer = present;
  present = {name: `${outer.name}${name}: `, setUps: [...outer.setUps], tearDowns: [...outer.tearDowns]};
  body();
  present = outer;
}
export const setUp = (work) => { present.setUps.push(work); };
export const tearDown = (work) => { present.tearDowns.unshift(work); };
export const test = (name, body) => { $tests.push({...present, name: present.name + name, body}); };
const tester = {pump: (duration = Duration.zero) => Timer.elapse(duration)};
export const testWidgets = (name, body) => test(name, () => body(tester));

class Matcher {
  constructor(words, matches) { Object.assign(this, {toString: () => words, matches}); }
  having(feature, name, expected) {
    const both = (value) => this.matches(value) && matches(feature(value), expected);
    return new Matcher(`${this} with ${name} ${expected}`, both);
  }
}
function matches(value, expected) {
  if (expected instanceof Matcher) return expected.matches(value);
  if (!Array.isArray(expected)) return $equal(value, expected);
  return value.length === expected.length && value.every((one, i) => matches(one, expected[i]));
}
function check(value, expected, reason) {
  if (!matches(value, expected)) throw new Error(`${value} instead of ${expected}${reason ? ` (${reason})` : ''}`);
}
class Throws { constructor(error) { this.error = error; } }
export const throwsA = (error) => new Throws(error);
export function expect(value, expected, {reason} = {}) {
  if (!(expected instanceof Throws)) return check(value, expected, reason);
  try {
    value();
  } catch (error) {
    return check(error, expected.error, reason);
  }
  throw new Error(`nothing thrown instead of ${expected.error}${reason ? ` (${reason})` : ''}`);
}
export const expectLater = (future, {error: expected}) => future.then(
  () => { throw new Error(`no failure instead of ${expected}`); }, (error) => check(error, expected));
export const fail = (words) => { throw new Error(words); };

export const isA = (type) => new Matcher(type, (value) => $is(value, type));
export const throwsArgumentError = throwsA(isA('ArgumentError'));
export const throwsStateError = throwsA(isA('StateError'));
export const throwsFormatException = throwsA(isA('FormatException'));
export const isNull = new Matcher('null', (value) => value == null);
export const isTrue = new Matcher('true', (value) => value === true);
export const isFalse = new Matcher('false', (value) => value === false);
export const isEmpty = new Matcher('empty', (value) => value.length === 0);
export const hasLength = (length) => new Matcher(`${length} elements`, (value) => value.length === length);
export const closeTo = (middle, most) => new Matcher(`close to ${middle}`, (value) => Math.abs(value - middle) <= most);
export const inInclusiveRange = (low, high) =>
  new Matcher(`${low} to ${high}`, (value) => value >= low && value <= high);
export const contains = (part) => new Matcher(`with ${part}`, (value) => value.includes(part));
export const allOf = (...all) => new Matcher(all.join(' and '), (value) => all.every((one) => matches(value, one)));

const LIBRARY = {ArgumentError, StateError, FormatException, PlatformException, MissingPluginException, Map};
