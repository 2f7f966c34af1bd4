// Runs among the page's own scripts, before them and before members.js, to which it leaves what it makes:
// the page's values as texts, and the page's objects by number. It trusts nothing that a script may replace:
// what it calls is taken here at the start, and nothing is looked up on a prototype later.
'use strict';

/** @typedef {{last: {id: number, next: any} | null}} PageMentions the objects that one request mentions */
/**
 * @typedef {{
 *   bare: <T extends object>(object: T) => T,
 *   uncurried: (method: Function) => (object: any, ...args: any[]) => any,
 *   getterOf: (prototype: object, name: string) => (object: any) => any,
 *   encode: (value: any, mentions: PageMentions) => string,
 *   encodeAll: (args: any[], mentions: PageMentions) => string,
 *   decode: (value: any) => any,
 *   objectOf: (id: number) => any,
 *   release: (id: number, mentions: number) => void,
 *   forgetAll: () => void,
 * }} PageValues
 */

(() => {
  const { WeakMap } = globalThis;
  const { apply, getOwnPropertyDescriptor, setPrototypeOf } = Reflect;
  const { stringify } = JSON;
  const { isFinite } = Number;
  const { is } = Object;

  /**
   * An object without a prototype, on which nothing is found that a script has put there.
   * @template {object} T @param {T} object @returns {T}
   */
  const bare = (object) => {
    setPrototypeOf(object, null);
    return object;
  };

  /**
   * A method as a function of its object.
   * @param {Function} method
   * @returns {(object: any, ...args: any[]) => any}
   */
  const uncurried = (method) => apply(Function.prototype.bind, Function.prototype.call, [method]);

  /** @type {(prototype: object, name: string) => (object: any) => any} */
  const getterOf = (prototype, name) =>
    uncurried(/** @type {Function} */ (getOwnPropertyDescriptor(prototype, name)?.get));

  const numberOf = uncurried(WeakMap.prototype.get);
  const setNumber = uncurried(WeakMap.prototype.set);
  const wellFormed = uncurried(/** @type {any} */ (String.prototype).toWellFormed);

  /** @type {{[id: number]: {object: any, mentions: number} | undefined}} */
  let held = bare({});
  let numbers = new WeakMap();
  let lastNumber = 0;

  /** @param {object} object */
  function mention(object) {
    const known = numberOf(numbers, object);
    const entry = known && held[known];
    if (entry) {
      ++entry.mentions;
      return known;
    }
    setNumber(numbers, object, ++lastNumber);
    held[lastNumber] = { object, mentions: 1 };
    return lastNumber;
  }

  /** @type {(id: number, mentions: number) => void} */
  function release(id, mentions) {
    const entry = held[id];
    if (entry && (entry.mentions -= mentions) <= 0) {
      delete held[id];
    }
  }

  function forgetAll() {
    held = bare({});
    numbers = new WeakMap();
  }

  /** @param {any} object */
  function hasOnDrop(object) {
    try {
      return typeof object.onDrop === 'function';
    } catch {
      return false;
    }
  }

  /**
   * The JSON of a value; objects in it are mentioned, and noted in `mentions`.
   * @type {(value: any, mentions: PageMentions) => string}
   */
  function encode(value, mentions) {
    switch (typeof value) {
      case 'string':
        return stringify(wellFormed(value));
      case 'boolean':
        return value ? 'true' : 'false';
      case 'number':
        return isFinite(value) && !is(value, -0)
          ? '' + value
          : '{"v":"number","text":"' + (value === 0 ? '-0' : '' + value) + '"}';
      case 'object':
      case 'function':
        break;
      default:
        return '{"v":"undefined"}';
    }
    if (value === null) {
      return 'null';
    }
    const id = mention(value);
    mentions.last = { id, next: mentions.last };
    return '{"v":"object","id":' + id + ',"callable":' + (typeof value === 'function') +
      ',"methods":' + (hasOnDrop(value) ? '["onDrop"]' : '[]') + '}';
  }

  /** @type {(args: any[], mentions: PageMentions) => string} */
  function encodeAll(args, mentions) {
    let text = '';
    for (let i = 0; i < args.length; ++i) {
      text += (i === 0 ? '' : ',') + encode(args[i], mentions);
    }
    return '[' + text + ']';
  }

  /** @param {any} value what JSON.parse made of a value */
  function decode(value) {
    if (typeof value !== 'object' || value === null) {
      return value;
    }
    switch (value.v) {
      case 'number':
        return +value.text;
      case 'object':
        return held[value.id]?.object ?? null;
      default:
        return undefined;
    }
  }

  /** @param {number} id */
  const objectOf = (id) => held[id]?.object;

  /** @type {PageValues} */
  const values = { bare, uncurried, getterOf, encode, encodeAll, decode, objectOf, release, forgetAll };
  Object.defineProperty(globalThis, Symbol.for('orvane-web.values'), bare({ value: values, configurable: true }));
})();
