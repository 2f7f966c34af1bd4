// Runs among the page's own scripts, before them: gives embed and object elements of our type the plugin's
// members. What such an element is, and everything that leaves the page, is the content script's; this end
// knows the page's objects by number. It trusts nothing that a script may replace: what it calls is taken
// here at the start, and nothing is looked up on a prototype later.
'use strict';

(() => {
  const { Error, TypeError, CustomEvent, MouseEvent, Promise, Symbol } = globalThis;
  const { apply, defineProperty, getOwnPropertyDescriptor } = Reflect;
  const { defineProperties } = Object;
  const { parse, stringify } = JSON;
  const page = document;

  /** @returns {PageValues} what page_values.js has left here, before any script of the page could see it */
  function takePageValues() {
    const key = Symbol.for('orvane-web.values');
    const values = /** @type {any} */ (globalThis)[key];
    delete /** @type {any} */ (globalThis)[key];
    return values;
  }

  const { bare, getterOf, uncurried, decode, encode, encodeAll, forgetAll, objectOf, release } =
    takePageValues();

  const dispatch = uncurried(EventTarget.prototype.dispatchEvent);
  const listen = uncurried(EventTarget.prototype.addEventListener);
  const unlisten = uncurried(EventTarget.prototype.removeEventListener);
  const textOf = getterOf(CharacterData.prototype, 'data');
  const setText = uncurried(/** @type {Function} */ (getOwnPropertyDescriptor(CharacterData.prototype, 'data')?.set));
  const relatedTargetOf = getterOf(MouseEvent.prototype, 'relatedTarget');

  const attributeOf = uncurried(Element.prototype.getAttribute);
  const lowerCase = uncurried(String.prototype.toLowerCase);

  const refusal = 'Error calling method on NPObject.';
  const gone = 'Orvane Web: the extension has been updated or switched off. Reload the page.';
  const orphaned = '["unsent","' + gone + '"]';
  /** Where a wrapper of ours keeps the accessor that the browser had there. */
  const native = Symbol.for('orvane-web.native');
  const promisesKey = Symbol.for('orvane-web.promises');

  /** @type {CharacterData | null} a text of the extension's, in no document: what it says goes with the next event */
  let channel = null;

  // ---- Asking the content script ----

  /**
   * An event that names an element, or null for what is not even a node.
   * @type {(kind: 'request' | 'question', element: any) => MouseEvent | null}
   */
  function naming(kind, element) {
    try {
      return new MouseEvent(kind, /** @type {any} */ ({ __proto__: null, relatedTarget: element, cancelable: true }));
    } catch {
      return null;
    }
  }

  /**
   * What the content script says to a request on an element, as JSON: a kind and a value.
   * @type {(element: any, request: string) => string}
   */
  function ask(element, request) {
    const event = naming('request', element);
    if (event === null) {
      return '["none",null]';
    }
    let reply = request;
    if (channel !== null) {
      setText(channel, request);
      dispatch(channel, event);
      reply = textOf(channel);
      setText(channel, '');
    }
    if (reply !== request) {
      return reply;
    }
    rejectAll();
    return orphaned;
  }

  /** @param {any} element */
  function isOurs(element) {
    const question = naming('question', element);
    if (question !== null && channel !== null && !dispatch(channel, question)) {
      return true;  // prevented: yes
    }
    const answer = ask(element, '["use"]');
    return answer === '["ours",null]' ||
      (answer === orphaned && lowerCase(attributeOf(element, 'type') ?? '') === 'application/x-orvane-web');
  }

  /**
   * Asks, and takes back what was mentioned when nothing was sent. When the page has been made to forget on the way what
   * a lost host held, so are the mentions, and the request is made again.
   * @type {(element: any, request: (mentions: PageMentions) => string) => any}
   */
  function demand(element, request) {
    /** @type {PageMentions} */
    const mentions = { last: null };
    const answer = parse(ask(element, request(mentions)));
    if (answer[0] === 'again') {
      return demand(element, request);
    }
    if (answer[0] === 'unsent' || answer[0] === 'none') {
      for (let each = mentions.last; each; each = each.next) {
        release(each.id, 1);
      }
    }
    return outcome(answer[0], answer[1]);
  }

  /** @type {(kind: string, value: any) => any} */
  function outcome(kind, value) {
    switch (kind) {
      case 'value':
        return decode(value);
      case 'refused':
        throw new Error(value ?? refusal);
      case 'none':
        throw new TypeError('This is no element of the plugin');
      default:
        throw new Error(value);
    }
  }

  /** @type {(element: any, name: string, args: any[], way?: string) => any} */
  const callMethod = (element, name, args, way = '"call"') => demand(element,
    (mentions) => '[' + way + ',' + stringify('' + name) + ',' + encodeAll(args, mentions) + ']');

  /** @type {(element: any, name: string, way?: string) => any} */
  const getProperty = (element, name, way = '"get"') =>
    demand(element, () => '[' + way + ',' + stringify('' + name) + ']');

  /** @type {(element: any, name: string, value: any, way?: string) => any} */
  const setProperty = (element, name, value, way = '"set"') => demand(element,
    (mentions) => '[' + way + ',' + stringify('' + name) + ',' + encode(value, mentions) + ']');

  // ---- What the host tells ----

  /** @type {{[ticket: number]: {resolve: (value: any) => void, reject: (error: any) => void}}} */
  const promised = bare({});
  let lastTicket = 0;

  /** @type {(ticket: number, kind: string, value: any) => void} */
  function settle(ticket, kind, value) {
    const waiting = promised[ticket];
    delete promised[ticket];
    try {
      waiting?.resolve(outcome(kind, value));
    } catch (error) {
      waiting?.reject(error);
    }
  }

  /** The extension has gone, perhaps for a newer one: nothing settles what waits for it. */
  function rejectAll() {
    for (const ticket in promised) {
      settle(+ticket, 'error', gone);
    }
  }

  /** @type {(object: any, callee: any, args: any[]) => void} */
  function callPage(object, callee, args) {
    if (typeof callee !== 'function') {
      return;
    }
    for (let i = 0; i < args.length; ++i) {
      args[i] = decode(args[i]);
    }
    apply(callee, object, args);  // what it throws is reported as uncaught, since this is a listener
  }

  /** What the channel says, which is taken by that. @returns {string} */
  function takeText() {
    const text = textOf(channel);
    setText(channel, '');
    return text;
  }

  /** Only the last of them may be a call, whose errors go to the page. */
  function hearAll() {
    const tells = parse(takeText());
    for (let i = 0; i < tells.length; ++i) {
      hear(tells[i]);
    }
  }

  /** @param {any[]} tell */
  function hear(tell) {
    const object = objectOf(tell[1]);
    switch (tell[0]) {
      case 'call':
        return callPage(undefined, object, tell[2]);
      case 'method':
        return callPage(object, object?.[tell[2]], tell[3]);
      case 'release':
        return release(tell[1], tell[2]);
      case 'settle':
        return settle(tell[1], tell[2], tell[3]);
      case 'throw':
        throw new Error(tell[1] ?? refusal);
      case 'forget':
        return forgetAll();
    }
  }

  // ---- The members ----

  /**
   * What the element's own assignment would have done without us.
   * @type {(element: any, name: PropertyKey, value: any) => void}
   */
  function assignOwn(element, name, value) {
    defineProperty(element, name, bare({ value, writable: true, enumerable: true, configurable: true }));
  }

  /** @param {string} name */
  function methodMember(name) {
    const method = {
      /** @this {any} @param {any[]} args */
      [name](...args) {
        return callMethod(this, name, args);
      },
    }[name];
    return {
      /** @this {any} */
      get() {
        return isOurs(this) ? method : undefined;
      },
      /** @this {any} @param {any} value */
      set(value) {
        if (!isOurs(this)) {
          assignOwn(this, name, value);
        }
      },
    };
  }

  /** @type {(prototype: object, name: string) => {get: () => any, set: (value: any) => void}} */
  function propertyMember(prototype, name) {
    const found = getOwnPropertyDescriptor(prototype, name);
    /** @type {PropertyDescriptor | undefined} */
    const old = /** @type {any} */ (found?.get)?.[native] ?? found;
    const member = {
      /** @this {any} */
      get() {
        return isOurs(this) ? getProperty(this, name) : old?.get && apply(old.get, this, []);
      },
      /** @this {any} @param {any} value */
      set(value) {
        if (isOurs(this)) {
          setProperty(this, name, value);
        } else if (old?.set) {
          apply(old.set, this, [value]);
        } else {
          assignOwn(this, name, value);
        }
      },
    };
    defineProperty(member.get, native, bare({ value: old ?? bare({}) }));
    return member;
  }

  /**
   * The members as promises, for pages that cannot wait. They go another way, which blocks nobody.
   * @param {any} element
   */
  function promisesOf(element) {
    /** @type {(send: (way: string) => void) => Promise<any>} */
    const later = (send) => new Promise((resolve, reject) => {
      const ticket = ++lastTicket;
      promised[ticket] = { resolve, reject };
      try {
        send('"later",' + ticket);
      } catch (error) {
        delete promised[ticket];
        reject(error);
      }
    });
    return {
      /** @type {(name: string, ...args: any[]) => Promise<any>} */
      call: (name, ...args) => later((way) => callMethod(element, name, args, way + ',"call"')),
      /** @type {(name: string) => Promise<any>} */
      get: (name) => later((way) => getProperty(element, name, way + ',"get"')),
      /** @type {(name: string, value: any) => Promise<void>} */
      set: (name, value) => later((way) => setProperty(element, name, value, way + ',"set"')),
    };
  }

  const promisesMember = {
    /** @this {any} */
    get() {
      return isOurs(this) ? promisesOf(this) : undefined;
    },
    set: undefined,
  };

  /** @type {(member: {get: any, set: any}) => any} */
  const accessor = ({ get, set }) => ({ __proto__: null, get, set, enumerable: false, configurable: true });

  /** @type {(names: {methods: string[], properties: string[]}) => void} */
  function defineMembers({ methods, properties }) {
    /** @type {any} */
    const shared = { __proto__: null, [promisesKey]: accessor(promisesMember) };
    for (let i = 0; i < methods.length; ++i) {
      shared[methods[i]] = accessor(methodMember(methods[i]));
    }
    const prototypes = [HTMLEmbedElement.prototype, HTMLObjectElement.prototype];
    for (let p = 0; p < prototypes.length; ++p) {
      defineProperties(prototypes[p], shared);
      for (let i = 0; i < properties.length; ++i) {
        defineProperty(prototypes[p], properties[i], accessor(propertyMember(prototypes[p], properties[i])));
      }
    }
  }

  // ---- The handing over of the channel, whichever script came first ----

  /** @param {Event} event */
  function take(event) {
    unlisten(page, 'orvane-web:channel', take);
    channel = relatedTargetOf(event);
    defineMembers(parse(takeText()));
    listen(channel, 'tell', hearAll);
    listen(page, 'orvane-web:page', rejectAll);
  }

  listen(page, 'orvane-web:channel', take);
  dispatch(page, new CustomEvent('orvane-web:page'));
})();
