// Runs among the page's own scripts, before them: gives embed and object elements of our type the plugin's
// members. What such an element is, and everything that leaves the page, is the content script's; this end
// knows the page's objects by number. It trusts nothing that a script may replace: what it calls is taken
// here at the start, and nothing is looked up on a prototype later.
'use strict';

(() => {
  const { Error, TypeError, CustomEvent, MouseEvent, Promise, Symbol } = globalThis;
  const { apply, defineProperty, getOwnPropertyDescriptor } = Reflect;
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
  const detailOf = getterOf(CustomEvent.prototype, 'detail');
  const relatedTargetOf = getterOf(MouseEvent.prototype, 'relatedTarget');

  const attributeOf = uncurried(Element.prototype.getAttribute);
  const lowerCase = uncurried(String.prototype.toLowerCase);

  const refusal = 'Error calling method on NPObject.';
  const gone = 'Orvane Web: the extension has been updated or switched off. Reload the page.';
  const orphaned = '["unsent","' + gone + '"]';
  /** Where a wrapper of ours keeps the accessor that the browser had there. */
  const native = Symbol.for('orvane-web.native');
  const promisesKey = Symbol.for('orvane-web.promises');

  /** @type {EventTarget | null} a node of the extension's, in no document */
  let channel = null;
  let reply = '';

  // ---- Asking the content script ----

  /**
   * An event that names an element, or null for what is not even a node. One that can be prevented asks whether
   * the element is one of ours, and is prevented then.
   * @type {(element: any, cancelable: boolean) => MouseEvent | null}
   */
  function naming(element, cancelable) {
    try {
      return new MouseEvent('element', bare({ relatedTarget: element, cancelable }));
    } catch {
      return null;
    }
  }

  /**
   * What the content script says to a request on an element, as JSON: a kind and a value.
   * @type {(element: any, request: string) => string}
   */
  function ask(element, request) {
    const concerned = naming(element, false);
    if (concerned === null) {
      return '["none",null]';
    }
    reply = '';
    if (channel !== null) {
      dispatch(channel, concerned);
      dispatch(channel, new CustomEvent('request', bare({ detail: request })));
    }
    if (reply === '') {
      rejectAll();
    }
    return reply || orphaned;
  }

  /** @param {any} element */
  function isOurs(element) {
    const question = naming(element, true);
    if (question !== null && channel !== null && !dispatch(channel, question)) {
      return true;
    }
    const answer = ask(element, '["use"]');
    return answer === '["ours",null]' ||
      (answer === orphaned && lowerCase(attributeOf(element, 'type') ?? '') === 'application/x-orvane-web');
  }

  /**
   * Asks, and takes back what was mentioned when nothing was sent.
   * @type {(element: any, request: string, mentions: PageMentions) => any}
   */
  function demand(element, request, mentions) {
    const answer = parse(ask(element, request));
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

  /**
   * Asks for the element first, whose beginning may make the page forget what a lost host held: no argument may be
   * mentioned before.
   * @type {(element: any, name: string, args: any[], way?: string) => any}
   */
  function callMethod(element, name, args, way = '"call"') {
    isOurs(element);
    /** @type {PageMentions} */
    const mentions = { last: null };
    return demand(element, '[' + way + ',' + stringify('' + name) + ',' + encodeAll(args, mentions) + ']', mentions);
  }

  /** @type {(element: any, name: string, way?: string) => any} */
  const getProperty = (element, name, way = '"get"') =>
    demand(element, '[' + way + ',' + stringify('' + name) + ']', { last: null });

  /** @type {(element: any, name: string, value: any, way?: string) => any} */
  function setProperty(element, name, value, way = '"set"') {
    isOurs(element);
    /** @type {PageMentions} */
    const mentions = { last: null };
    demand(element, '[' + way + ',' + stringify('' + name) + ',' + encode(value, mentions) + ']', mentions);
  }

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

  /** @type {(prototype: object, name: PropertyKey, member: {get: any, set: any}) => void} */
  function define(prototype, name, member) {
    defineProperty(prototype, name, bare({ get: member.get, set: member.set, enumerable: false, configurable: true }));
  }

  /** @type {(names: {methods: string[], properties: string[]}) => void} */
  function defineMembers(names) {
    const prototypes = [HTMLEmbedElement.prototype, HTMLObjectElement.prototype];
    for (let i = 0; i < names.methods.length; ++i) {
      const member = methodMember(names.methods[i]);
      define(prototypes[0], names.methods[i], member);
      define(prototypes[1], names.methods[i], member);
    }
    for (let p = 0; p < prototypes.length; ++p) {
      for (let i = 0; i < names.properties.length; ++i) {
        define(prototypes[p], names.properties[i], propertyMember(prototypes[p], names.properties[i]));
      }
      define(prototypes[p], promisesKey, promisesMember);
    }
  }

  // ---- The handing over of the channel, whichever script came first ----

  /** @param {Event} event */
  function take(event) {
    unlisten(page, 'orvane-web:channel', take);
    channel = relatedTargetOf(event);
    listen(channel, 'names', (/** @type {Event} */ named) => defineMembers(parse(detailOf(named))));
    listen(channel, 'reply', (/** @type {Event} */ answer) => {
      reply = detailOf(answer);
    });
    listen(channel, 'tell', (/** @type {Event} */ told) => hear(parse(detailOf(told))));
    dispatch(channel, new CustomEvent('taken'));
    listen(page, 'orvane-web:page', rejectAll);
  }

  listen(page, 'orvane-web:channel', take);
  dispatch(page, new CustomEvent('orvane-web:page'));
})();
