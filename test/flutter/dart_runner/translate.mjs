// Translates Dart into JavaScript: as much of the language as this package's classes and their tests use. What is not
// known here is an error with the line that it stands in, never something that is left out.
//
// Types are dropped. A Dart class becomes a JavaScript class with the same members, and one static function for each
// constructor: C(...) is C.$new(...), C.name(...) is C.$new_name(...); each has a twin, C.$init..., that fills an
// object which exists, for the constructors of derived classes. Named arguments travel as one object after the others.
// Operators go through functions of the runtime ($add, $equal, ...), because classes define them. `this` is $this.

import {nodesOf} from '../dart_files.mjs';

const OPERATORS = {
  '+': '$add', '-': '$subtract', '*': '$multiply', '/': '$divide', '~/': '$divideWhole', '%': '$modulo',
  '<<': '$shiftLeft', '<': '$less', '>': '$greater', '<=': '$lessOrEqual', '>=': '$greaterOrEqual',
  '==': '$equal', '!=': '$unequal',
};
// The grammar does not keep Dart's precedence, so all operators of an expression are put in order here; loosest first.
const PRECEDENCE = [
  ['??'], ['||'], ['&&'], ['==', '!='], ['<', '>', '<=', '>='], ['<<'], ['+', '-'], ['*', '/', '~/', '%'],
];
const BINARY = new Set(['additive_expression', 'multiplicative_expression', 'relational_expression',
  'equality_expression', 'shift_expression', 'logical_and_expression', 'logical_or_expression', 'if_null_expression',
  'conditional_expression', 'type_test_expression', 'type_cast_expression']);
const RESERVED = new Set(['arguments', 'delete', 'export', 'function', 'let', 'package', 'yield']);
const COMMENTS = new Set(['annotation', 'comment', 'documentation_comment']);

const nameInJs = (name) => (RESERVED.has(name) ? `${name}$` : name);
const named = (node) => node.namedChildren.filter((child) => !COMMENTS.has(child.type));
const childOf = (node, type) => node.namedChildren.find((child) => child.type === type);
const childrenOf = (node, type) => node.namedChildren.filter((child) => child.type === type);
const has = (node, token) => node.children.some((child) => child.type === token);

// The named children between tokens.
function split(node, ...tokens) {
  const parts = [[]];
  for (const child of node.children) {
    if (tokens.includes(child.type)) parts.push([]);
    else if (child.isNamed && !COMMENTS.has(child.type)) parts.at(-1).push(child);
  }
  return parts;
}

function unknown(node) {
  throw new Error(`line ${node.startPosition.row + 1}: ${node.type} is not known: ${node.text.slice(0, 80)}`);
}

function basesFirst(classes) {
  const ordered = [];
  const place = (one) => {
    if (!one || ordered.includes(one)) return;
    place(classes.find((other) => other.name === one.base));
    ordered.push(one);
  };
  classes.forEach(place);
  return ordered;
}

/// Translates syntax trees that make up one program. `library` has the classes that are not part of it.
export class Translator {
  #classes = new Map(); // name -> {members: Map(name -> {isStatic, isMethod}), constructors: Set, base, isEnum}
  #library;
  #class = null; // in which the translation is
  #scopes = [new Set()];

  constructor(library) {
    this.#library = library;
  }

  /// The program's JavaScript. `files` are pairs of a name and a syntax tree.
  translate(files) {
    for (const [, tree] of files) {
      for (const node of tree.namedChildren) {
        if (['class_definition', 'enum_declaration'].includes(node.type)) this.#collect(node);
      }
    }
    const program = {classes: [], functions: [], constants: []};
    for (const [name, tree] of files) {
      try {
        this.#translateFile(tree, program);
      } catch (error) {
        throw new Error(`${name}, ${error.message}`);
      }
    }
    // Static fields when all classes are there, enumerations when all fields are.
    const classes = basesFirst(program.classes);
    return [
      ...classes.map((one) => one.code),
      `const $classes = {${classes.map((one) => one.name).join(', ')}};\n$know($classes);`,
      ...classes.map((one) => one.statics),
      ...classes.map((one) => one.values),
      ...program.functions,
      ...program.constants,
    ].join('\n');
  }

  #translateFile(tree, program) {
    const nodes = named(tree);
    for (let i = 0; i < nodes.length; i++) {
      const node = nodes[i];
      switch (node.type) {
        case 'class_definition': case 'enum_declaration': program.classes.push(this.#translateClass(node)); break;
        case 'function_signature': {
          const name = node.childForFieldName('name').text;
          program.functions.push(`const ${name} = ${this.#function(node, nodes[++i])};`);
          break;
        }
        case 'static_final_declaration_list':
          for (const one of node.namedChildren) {
            program.constants.push(`const ${one.namedChildren[0].text} = ${this.#after(one, '=')};`);
          }
          break;
        // A constant's type stands beside it.
        case 'import_or_export': case 'type_alias': case 'const_builtin': case 'type_identifier': break;
        default: unknown(node);
      }
    }
  }

  // Declarations

  #collect(node) {
    const info = {members: new Map(), constructors: new Set(), isEnum: node.type === 'enum_declaration'};
    const superclass = childOf(node, 'superclass');
    info.base = superclass && childOf(superclass, 'type_identifier')?.text;
    this.#classes.set(node.childForFieldName('name').text, info);
    for (const member of named(node.childForFieldName('body'))) {
      if (member.type === 'enum_constant') {
        info.members.set(member.childForFieldName('name').text, {isStatic: true, isMethod: false});
        continue;
      }
      const isStatic = has(member, 'static');
      for (const part of nodesOf(member)) {
        if (part.type === 'function_signature') {
          info.members.set(part.childForFieldName('name').text, {isStatic, isMethod: true});
        } else if (part.type === 'getter_signature') {
          info.members.set(part.childForFieldName('name').text, {isStatic, isMethod: false});
        } else if (['initialized_identifier', 'static_final_declaration'].includes(part.type)) {
          info.members.set(part.namedChildren[0].text, {isStatic, isMethod: false});
        } else if (part.type.endsWith('constructor_signature')) {
          info.constructors.add(childrenOf(part, 'identifier')[1]?.text ?? '');
        }
      }
    }
  }

  // Where a name is found from inside the present class.
  #memberNamed(name) {
    for (let at = this.#class; at; at = this.#classes.get(at)?.base) {
      const member = this.#classes.get(at)?.members.get(name);
      if (member) return {...member, owner: at};
    }
    return null;
  }

  #translateClass(node) {
    const name = node.childForFieldName('name').text;
    const info = this.#classes.get(name);
    const base = this.#classes.has(info.base) ? info.base : null;
    this.#class = name;
    const members = [];
    const fields = [];
    const statics = [];
    const values = [];
    const body = named(node.childForFieldName('body'));
    for (let i = 0; i < body.length; i++) {
      const member = body[i];
      if (member.type === 'enum_constant') {
        values.push(this.#enumValue(name, member, values.length));
        continue;
      }
      const signature = member.namedChildren.find((child) => child.type.endsWith('signature'));
      const code = body[i + 1]?.type === 'function_body' ? body[++i] : null;
      if (signature?.type.endsWith('constructor_signature')) {
        members.push(this.#translateConstructor(name, base, member, signature, code));
      } else if (member.type === 'method_signature') {
        members.push(this.#method(member, signature, code));
      } else if (member.type === 'declaration') {
        if (!signature) this.#field(name, member, fields, statics); // otherwise it is abstract
      } else {
        unknown(member);
      }
    }
    if (info.constructors.size === 0) members.push(this.#constructorCode(name, '', '', `${name}.$fields($this);`));
    members.push(`static $fields($this) { ${fields.join(' ')} }`);
    if (info.isEnum) values.push(`${name}.values = $enumValues(${name});`);
    this.#class = null;
    return {
      name,
      base,
      code: `class ${name}${base ? ` extends ${base}` : ''} {\n${members.join('\n')}\n}`,
      statics: statics.join('\n'),
      values: values.join('\n'),
    };
  }

  #enumValue(name, node, index) {
    const values = [...nodesOf(node)].find((part) => part.type === 'arguments');
    const init = this.#classes.get(name).constructors.size > 0 ? `${name}.$init` : '() => {}';
    const value = node.childForFieldName('name').text;
    const list = values ? this.#arguments(values) : '[]';
    return `${name}.${value} = $enumValue(${name}, '${value}', ${index}, ${init}, ${list});`;
  }

  #field(name, node, fields, statics) {
    for (const one of nodesOf(node)) {
      if (!['initialized_identifier', 'static_final_declaration'].includes(one.type)) continue;
      const field = one.namedChildren[0].text;
      const value = has(one, '=') ? this.#after(one, '=') : 'null';
      if (has(node, 'static')) statics.push(`$late(${name}, '${field}', () => ${value});`);
      else if (has(node, 'late')) fields.push(`$late($this, '${field}', () => ${value});`);
      else fields.push(`$this.${field} = ${value};`);
    }
  }

  #method(member, signature, body) {
    return this.#inScope(() => {
      const list = childOf(signature, 'formal_parameter_list');
      const parameters = list ? this.#parameters(list).text : '';
      let name;
      if (signature.type === 'operator_signature') {
        const operator = signature.children.find((child) => OPERATORS[child.text])?.text ?? unknown(signature);
        name = operator === '-' && parameters === '' ? '$negate' : OPERATORS[operator];
      } else {
        name = nameInJs(signature.childForFieldName('name').text);
      }
      const kind = `${has(member, 'static') ? 'static ' : ''}${this.#isAsync(body) ? 'async ' : ''}` +
          `${signature.type === 'getter_signature' ? 'get ' : ''}`;
      return `${kind}${name}(${parameters}) { const $this = this; ${this.#statements(body)} }`;
    });
  }

  #translateConstructor(name, base, member, signature, body) {
    return this.#inScope(() => {
      const own = childrenOf(signature, 'identifier')[1]?.text ?? '';
      const parameters = this.#parameters(childOf(signature, 'formal_parameter_list'));
      if (signature.type === 'factory_constructor_signature') {
        return `static $new${own && `_${own}`}(${parameters.text}) { ${this.#statements(body)} }`;
      }
      const steps = [`${name}.$fields($this);`];
      for (const field of parameters.fields) steps.push(`$this.${field} = ${nameInJs(field)};`);
      let baseCall = {own: '', values: ''};
      for (const entry of nodesOf(member)) {
        if (entry.type !== 'initializer_list_entry') continue;
        if (has(entry, 'super')) {
          const values = [...nodesOf(entry)].find((part) => part.type === 'arguments');
          baseCall = {own: childOf(entry, 'identifier')?.text ?? '', values: `...${this.#arguments(values)}`};
        } else {
          const [target] = split(childOf(entry, 'field_initializer'), '=');
          steps.push(`$this.${target.at(-1).text} = ${this.#after(childOf(entry, 'field_initializer'), '=')};`);
        }
      }
      if (base) {
        const values = ['$this', baseCall.values, ...parameters.supers].filter(Boolean).join(', ');
        steps.push(`${base}.$init${baseCall.own && `_${baseCall.own}`}(${values});`);
      }
      if (body) steps.push(this.#statements(body));
      return this.#constructorCode(name, own, parameters.text, steps.join(' '));
    });
  }

  #constructorCode(name, own, parameters, steps) {
    const suffix = own && `_${own}`;
    return `static $init${suffix}(${['$this', parameters].filter(Boolean).join(', ')}) { ${steps} }\n` +
        `static $new${suffix}(...values) { const $this = $create(${name}); ` +
        `${name}.$init${suffix}($this, ...values); return $this; }`;
  }

  // Functions

  #inScope(work) {
    this.#scopes.push(new Set());
    try {
      return work();
    } finally {
      this.#scopes.pop();
    }
  }

  #declare(name) {
    this.#scopes.at(-1).add(name);
    return nameInJs(name);
  }

  #parameters(list) {
    const inOrder = [];
    const byName = [];
    const fields = [];
    const supers = [];
    const add = (parameter, target, value) => {
      const ofField = childOf(parameter, 'constructor_param');
      const ofSuper = childOf(parameter, 'super_formal_parameter');
      const holder = ofField ?? ofSuper ?? parameter;
      const name = (parameter.childForFieldName('name') ?? childrenOf(holder, 'identifier').at(-1)).text;
      if (ofField) fields.push(name);
      if (ofSuper) supers.push(nameInJs(name));
      target.push(this.#declare(name) + (value === undefined ? '' : ` = ${value}`));
    };
    for (const part of named(list)) {
      if (part.type === 'formal_parameter') {
        add(part, inOrder);
      } else if (part.type === 'optional_formal_parameters') {
        const target = has(part, '{') ? byName : inOrder;
        for (const [parameter, ...value] of split(part, ',', '{', '[')) {
          if (parameter) add(parameter, target, value.length > 0 ? this.#expression(value) : 'null');
        }
      } else {
        unknown(part);
      }
    }
    if (byName.length > 0) inOrder.push(`{${byName.join(', ')}} = {}`);
    return {text: inOrder.join(', '), fields, supers};
  }

  #isAsync(body) {
    return has(body, 'async');
  }

  #statements(body) {
    const block = childOf(body, 'block');
    return block ? this.#block(block) : `return ${this.#expression(named(body))};`;
  }

  #function(signature, body) {
    return this.#inScope(() => {
      const parameters = this.#parameters(childOf(signature, 'formal_parameter_list')).text;
      return `${this.#isAsync(body) ? 'async ' : ''}(${parameters}) => { ${this.#statements(body)} }`;
    });
  }

  // Statements

  #block(node) {
    return this.#inScope(() => `{ ${named(node).map((child) => this.#statement(child)).join('\n')} }`);
  }

  #statement(node) {
    switch (node.type) {
      case 'expression_statement': return `${this.#expression(named(node))};`;
      case 'return_statement': return named(node).length > 0 ? `return ${this.#expression(named(node))};` : 'return;';
      case 'block': return this.#block(node);
      case 'local_variable_declaration': return this.#variable(node);
      case 'local_function_declaration': {
        const lambda = childOf(node, 'lambda_expression');
        const signature = childOf(lambda, 'function_signature');
        const name = this.#declare(signature.childForFieldName('name').text);
        return `const ${name} = ${this.#function(signature, childOf(lambda, 'function_body'))};`;
      }
      case 'if_statement': return this.#if(node);
      case 'for_statement': return this.#for(node);
      case 'while_statement': {
        const condition = this.#expression([childOf(node, 'parenthesized_expression')]);
        return `while (${condition}) ${this.#statement(node.childForFieldName('body'))}`;
      }
      case 'switch_statement': return this.#switch(node);
      case 'try_statement': return this.#try(node);
      default: return unknown(node);
    }
  }

  #variable(node) {
    const definition = childOf(node, 'initialized_variable_definition') ?? unknown(node);
    const value = has(definition, '=') ? this.#after(definition, '=') : 'null';
    return `let ${this.#declare(definition.childForFieldName('name').text)} = ${value};`;
  }

  #if(node) {
    return this.#inScope(() => {
      const [, value, pattern] = split(node, '(', 'case', ')');
      const match = has(node, 'case')
        ? this.#pattern(pattern[0], this.#expression(value))
        : {condition: this.#expression(value), bindings: []};
      const then = `${match.bindings.join(' ')} ${this.#statement(node.childForFieldName('consequence'))}`;
      const otherwise = node.childForFieldName('alternative');
      return `if (${match.condition}) { ${then} }${otherwise ? ` else { ${this.#statement(otherwise)} }` : ''}`;
    });
  }

  #for(node) {
    return this.#inScope(() => {
      const parts = childOf(node, 'for_loop_parts');
      let head;
      if (has(parts, 'in')) {
        const [, values] = split(parts, 'in');
        const iterable = this.#expression(values);
        const record = childOf(parts, 'record_pattern');
        const names = record
          ? childrenOf(record, 'variable_pattern').map((one) => childrenOf(one, 'identifier').at(-1).text)
          : [parts.childForFieldName('name').text];
        names.forEach((name) => this.#declare(name));
        const target = record ? `{${names.map((name, i) => `$${i + 1}: ${name}`).join(', ')}}` : nameInJs(names[0]);
        head = `const ${target} of ${iterable}`;
      } else {
        const [before, step] = split(parts, '(', ';', ')').filter((part) => part.length > 0);
        const start = before[0].type === 'local_variable_declaration' ? this.#variable(before.shift()) : ';';
        head = `${start} ${this.#expression(before)}; ${this.#expression(step)}`;
      }
      return `for (${head}) ${this.#statement(node.childForFieldName('body'))}`;
    });
  }

  #switch(node) {
    const value = this.#expression([childOf(node, 'parenthesized_expression')]);
    const branches = named(childOf(node, 'switch_block')).map((branch) => this.#inScope(() => {
      const [pattern, statements] = split(branch, ':');
      const code = () => statements.map((statement) => this.#statement(statement)).join('\n');
      if (branch.type === 'switch_statement_default') return `{ ${code()} }`;
      const match = this.#pattern(pattern.find((part) => part.type !== 'case_builtin'), '$value');
      return `if (${match.condition}) { ${match.bindings.join(' ')} ${code()} }`;
    }));
    return `{ const $value = ${value}; ${branches.join(' else ')} }`;
  }

  #try(node) {
    let type = null;
    let names = [];
    let final = '';
    const handlers = [];
    const blocks = childrenOf(node, 'block');
    for (let i = 0; i < node.children.length; i++) {
      const child = node.children[i];
      if (child.type === 'on') {
        type = node.children[i + 1].text;
      } else if (child.type === 'catch_clause') {
        names = childrenOf(childOf(child, 'catch_parameters'), 'identifier').map((name) => name.text);
      } else if (child.type === 'finally_clause') {
        final = ` finally ${this.#block(childOf(child, 'block'))}`;
      } else if (child.type === 'block' && child.id !== blocks[0].id) {
        handlers.push(this.#inScope(() => {
          names.forEach((name) => this.#declare(name));
          const bindings = names.map((name, at) => `const ${name} = ${at === 0 ? '$error' : 'null'};`).join(' ');
          return `if (${type ? `$is($error, '${type}')` : 'true'}) { ${bindings} ${this.#block(child)} }`;
        }));
        type = null;
        names = [];
      }
    }
    const handled = handlers.length > 0 ? ` catch ($error) { ${handlers.join(' else ')} else throw $error; }` : '';
    return `try ${this.#block(blocks[0])}${handled}${final}`;
  }

  // Patterns: the condition under which `value` matches, and what it then binds.

  #pattern(node, value) {
    switch (node.type) {
      case 'variable_pattern': {
        const type = childOf(node, 'type_identifier');
        const name = childrenOf(node, 'identifier').at(-1).text;
        this.#declare(name);
        return {condition: type ? `$is(${value}, '${type.text}')` : 'true', bindings: [`const ${name} = ${value};`]};
      }
      case 'list_pattern': {
        const parts = named(node).map((part, i) => this.#pattern(part, `${value}[${i}]`));
        const conditions = [`${value}.length === ${parts.length}`, ...parts.map((part) => part.condition)];
        return {condition: conditions.join(' && '), bindings: parts.flatMap((part) => part.bindings)};
      }
      default:
        if (node.text === '_') return {condition: 'true', bindings: []};
        return {condition: `$equal(${value}, ${this.#constant(node)})`, bindings: []};
    }
  }

  #constant(node) {
    return this.#expression(node.type === 'constant_pattern' ? named(node) : [node]);
  }

  #switchExpression(node) {
    const branches = childrenOf(node, 'switch_expression_case').map((branch) => this.#inScope(() => {
      const [patterns, result] = split(branch, '=>');
      const alternatives = patterns.filter((part) => !part.type.endsWith('operator'));
      const matches = alternatives.map((part) => this.#pattern(part, '$value'));
      const condition = matches.map((match) => `(${match.condition})`).join(' || ');
      const bindings = matches.flatMap((match) => match.bindings);
      return `if (${condition}) { ${bindings.join(' ')} return ${this.#expression(result)}; }`;
    }));
    const value = this.#expression([node.childForFieldName('condition')]);
    return `(($value) => { ${branches.join(' ')} throw new Error('no case'); })(${value})`;
  }

  // Expressions

  // What follows a token in a node.
  #after(node, token) {
    return this.#expression(split(node, token).slice(1).flat());
  }

  // An expression is a list of nodes: a primary with its selectors, or one node with operators.
  #expression(nodes) {
    const tokens = this.#tokens(nodes.filter((node) => !COMMENTS.has(node.type)));
    const code = this.#conditional(tokens);
    if (tokens.length > 0) throw new Error(`line ${nodes[0].startPosition.row + 1}: operators are left over`);
    return code;
  }

  #tokens(nodes) {
    const [node] = nodes;
    if (nodes.length > 1) return [{operand: nodes}];
    if (BINARY.has(node.type)) {
      const tokens = [];
      let operand = [];
      const end = () => {
        if (operand.length > 0) tokens.push(...this.#tokens(operand));
        operand = [];
      };
      for (const child of node.children) {
        if (COMMENTS.has(child.type)) continue;
        if (child.type === 'type_test') {
          end();
          const type = childOf(child, 'type_identifier').text;
          tokens.push({test: type, isNegated: childOf(child, 'is_operator').text.includes('!')});
        } else if (child.type === 'type_cast') {
          end();
        } else if (!child.isNamed || child.type.endsWith('_operator')) {
          end();
          tokens.push({operator: child.text});
        } else {
          operand.push(child);
        }
      }
      end();
      return tokens;
    }
    if (node.type === 'unary_expression' || node.type === 'await_expression') {
      const children = named(node);
      if (node.type === 'await_expression') return [{prefix: 'await'}, ...this.#tokens(children)];
      if (children[0].type === 'await_expression') return this.#tokens(children);
      const [first, ...others] = children;
      if (first.type === 'prefix_operator') return [{prefix: first.text}, ...this.#tokens(others)];
      if (first.type === 'increment_operator') return [{prefix: first.text}, {operand: others}];
      unknown(node);
    }
    return [{operand: nodes}];
  }

  #conditional(tokens) {
    const condition = this.#binary(tokens, 0);
    if (tokens[0]?.operator !== '?') return condition;
    tokens.shift();
    const then = this.#conditional(tokens);
    tokens.shift();
    return `(${condition} ? ${then} : ${this.#conditional(tokens)})`;
  }

  #binary(tokens, level) {
    if (level === PRECEDENCE.length) return this.#unary(tokens);
    let left = this.#binary(tokens, level + 1);
    while (tokens.length > 0) {
      const [token] = tokens;
      if (token.test && PRECEDENCE[level].includes('<')) {
        tokens.shift();
        left = `${token.isNegated ? '!' : ''}$is(${left}, '${token.test}')`;
      } else if (PRECEDENCE[level].includes(token.operator)) {
        tokens.shift();
        const right = this.#binary(tokens, level + 1);
        const operation = OPERATORS[token.operator];
        left = operation ? `${operation}(${left}, ${right})` : `(${left} ${token.operator} ${right})`;
      } else {
        break;
      }
    }
    return left;
  }

  #unary(tokens) {
    const {prefix, operand} = tokens.shift();
    if (!prefix) return this.#primary(operand);
    const value = this.#unary(tokens);
    return prefix === '-' ? `$negate(${value})` : `(${prefix} ${value})`;
  }

  #primary(nodes) {
    const [first, ...others] = nodes;
    const cascades = others.filter((node) => node.type === 'cascade_section');
    const selectors = others.filter((node) => node.type !== 'cascade_section' && node.text !== '!');
    let code = null;
    const values = (at) => selectors[at] && this.#argumentsOf(selectors[at]);
    if (first.type === 'identifier' && this.#isClass(first.text)) {
      const member = selectors[0] && this.#memberOf(selectors[0]);
      if (values(0)) {
        code = `${first.text}.$new(...${this.#arguments(values(0))})`;
        selectors.splice(0, 1);
      } else if (member && values(1) && this.#hasConstructor(first.text, member)) {
        code = `${first.text}.$new_${member}(...${this.#arguments(values(1))})`;
        selectors.splice(0, 2);
      } else {
        code = first.text;
      }
    } else {
      code = first.type === 'identifier' ? this.#name(first.text, values(0)) : this.#single(first);
    }
    for (const selector of selectors) code = this.#select(code, selector);
    for (const cascade of cascades) {
      const call = named(cascade).reduce((target, part) => (part.type === 'cascade_selector'
        ? `${target}.${part.namedChildren[0].text}`
        : this.#select(target, part)), '$target');
      code = `$cascade(${code}, ($target) => ${call})`;
    }
    return code;
  }

  #isLocal(name) {
    return this.#scopes.some((scope) => scope.has(name));
  }

  #isClass(name) {
    return !this.#isLocal(name) && (this.#classes.has(name) || (/^[A-Z]/.test(name) && name in this.#library));
  }

  #hasConstructor(name, constructor) {
    return this.#classes.get(name)?.constructors.has(constructor) ?? `$new_${constructor}` in this.#library[name];
  }

  #memberOf(node) {
    const selector = childOf(node, 'unconditional_assignable_selector');
    return selector && childOf(selector, 'identifier')?.text;
  }

  #argumentsOf(node) {
    const part = node.type === 'argument_part' ? node : childOf(node, 'argument_part');
    return part && childOf(part, 'arguments');
  }

  #name(name, isCalled) {
    const member = !this.#isLocal(name) && this.#memberNamed(name);
    if (!member) return nameInJs(name);
    if (member.isStatic) return `${member.owner}.${name}`;
    return member.isMethod && !isCalled ? `$bound($this, '${name}')` : `$this.${nameInJs(name)}`;
  }

  #select(target, node) {
    const inner = node.type === 'selector' ? node.namedChildren[0] : node;
    const index = inner.type === 'index_selector' ? inner : childOf(inner, 'index_selector');
    if (index) return `$at(${target}, ${this.#expression(named(index))})`;
    switch (inner.type) {
      case 'argument_part': return `${target}(...${this.#arguments(childOf(inner, 'arguments'))})`;
      case 'unconditional_assignable_selector': return `${target}.${nameInJs(childOf(inner, 'identifier').text)}`;
      case 'conditional_assignable_selector': return `${target}?.${nameInJs(childOf(inner, 'identifier').text)}`;
      default: return unknown(inner);
    }
  }

  // As a list.
  #arguments(node) {
    const inOrder = [];
    const byName = [];
    for (const argument of named(node)) {
      const content = argument.type === 'named_argument' ? argument : argument.namedChildren[0];
      if (content.type === 'named_argument') {
        const [label, ...value] = named(content);
        byName.push(`${nameInJs(label.namedChildren[0].text)}: ${this.#expression(value)}`);
      } else {
        inOrder.push(this.#expression(named(argument)));
      }
    }
    if (byName.length > 0) inOrder.push(`{${byName.join(', ')}}`);
    return `[${inOrder.join(', ')}]`;
  }

  #single(node) {
    switch (node.type) {
      case 'identifier': case 'identifier_dollar_escaped': return this.#name(node.text, false);
      case 'qualified': return named(node).map((part) => part.text).join('.');
      case 'this': return '$this';
      case 'null_literal': return 'null';
      case 'true': case 'false': case 'decimal_integer_literal': case 'decimal_floating_point_literal':
      case 'hex_integer_literal': return node.text;
      case 'string_literal': return this.#string(node);
      case 'parenthesized_expression': return `(${this.#expression(named(node))})`;
      case 'assignment_expression': return this.#assignment(node);
      case 'assignable_expression': return this.#primary(named(node));
      case 'postfix_expression': return `${this.#primary(named(node).slice(0, -1))}${named(node).at(-1).text}`;
      case 'throw_expression': return `$throw(${this.#expression(named(node))})`;
      case 'rethrow_expression': return '$throw($error)';
      case 'function_expression': return this.#function(node, childOf(node, 'function_expression_body'));
      case 'const_object_expression': {
        const name = childOf(node, 'identifier');
        const values = this.#arguments(childOf(node, 'arguments'));
        return `${childOf(node, 'type_identifier').text}.$new${name ? `_${name.text}` : ''}(...${values})`;
      }
      case 'list_literal': return `[${this.#elements(node).join(', ')}]`;
      case 'set_or_map_literal': {
        const entries = childrenOf(node, 'pair').map((pair) => split(pair, ':').map((part) => this.#expression(part)));
        return `$map([${entries.map((entry) => `[${entry.join(', ')}]`).join(', ')}])`;
      }
      case 'record_literal': {
        let position = 0;
        const fields = childrenOf(node, 'record_field').map((field) => {
          const label = childOf(field, 'label');
          const value = this.#expression(named(field).filter((part) => part.type !== 'label'));
          return `${label ? label.namedChildren[0].text : `$${++position}`}: ${value}`;
        });
        return `({${fields.join(', ')}})`;
      }
      case 'switch_expression': return this.#switchExpression(node);
      default: return unknown(node);
    }
  }

  #elements(node) {
    return split(node, ',').map((part) => part.filter((child) => child.type !== 'type_arguments'))
      .filter((part) => part.length > 0)
      .map((part) => (part[0].type === 'for_element' ? this.#forElement(part[0]) : this.#expression(part)));
  }

  #forElement(node) {
    return this.#inScope(() => {
      const parts = childOf(node, 'for_loop_parts');
      const iterable = this.#expression(split(parts, 'in')[1]);
      const name = this.#declare(parts.childForFieldName('name').text);
      const body = node.childForFieldName('body');
      if (body.type !== 'if_element') return `...${iterable}.map((${name}) => ${this.#expression([body])})`;
      const [, condition, value] = split(body, '(', ')');
      const [holds, one] = [condition, value].map((part) => this.#expression(part));
      return `...${iterable}.filter((${name}) => ${holds}).map((${name}) => ${one})`;
    });
  }

  #assignment(node) {
    const left = node.childForFieldName('left');
    const operator = node.children.find((child) => /^[^=!<>]*=$/.test(child.text)).text;
    const value = this.#expression(named(node).filter((child) => child.id !== left.id && child.text !== operator));
    const target = named(left);
    const last = target.at(-1);
    const index = last.type === 'index_selector' ? last : childOf(last, 'index_selector');
    if (index) return `$setAt(${this.#primary(target.slice(0, -1))}, ${this.#expression(named(index))}, ${value})`;
    const place = this.#primary(target);
    if (operator === '=' || operator === '??=') return `(${place} ${operator} ${value})`;
    return `(${place} = ${OPERATORS[operator.slice(0, -1)]}(${place}, ${value}))`;
  }

  #string(node) {
    const inserted = [...nodesOf(node)].filter((part) => part.type === 'template_substitution');
    let text = '';
    let quote = null;
    for (let at = 0; at < node.text.length;) {
      const here = quote && inserted.find((part) => part.startIndex - node.startIndex === at);
      const character = node.text[at];
      if (here) {
        text += `\${$text(${this.#expression(named(here))})}`;
        at += here.text.length;
      } else if (quote === null) { // strings that stand beside each other are one
        if (/['"]/.test(character)) quote = character;
        at++;
      } else if (character === quote) {
        quote = null;
        at++;
      } else if (character === '\\') {
        text += node.text.slice(at, at + 2);
        at += 2;
      } else {
        text += /[`$]/.test(character) ? `\\${character}` : character;
        at++;
      }
    }
    return `\`${text}\``;
  }
}
