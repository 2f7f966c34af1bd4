// Runs among the page's own scripts, before them, and only on sites that the user has allowed: names the
// plugin in navigator.plugins and navigator.mimeTypes, where pages of its time look for it.
'use strict';

(() => {
  const type = 'application/x-orvane-web';
  const description = { name: 'Orvane Web', description: 'Orvane NPAPI plugin', filename: 'nporvaneweb.so' };
  if (navigator.plugins.namedItem(description.name) !== null) {
    return;  // this script is there once for each allowed port of the host
  }

  /**
   * An object of the browser's own kind, with members of ours that hide the inherited ones.
   * @type {(kind: {prototype: object}, members: {[name: PropertyKey]: any}, shown?: string[]) => any}
   */
  function objectOf(kind, members, shown = []) {
    const object = Object.create(kind.prototype);
    for (const key of Reflect.ownKeys(members)) {
      Object.defineProperty(object, key, {
        value: members[/** @type {string} */ (key)],
        enumerable: shown.includes(String(key)),
        configurable: true,
      });
    }
    return object;
  }

  /**
   * A list like the browser's own, with one entry more.
   * @param {{prototype: object}} kind
   * @param {any} old the browser's own list
   * @param {any} added
   * @param {string} nameKey the member that names an entry
   */
  function longerList(kind, old, added, nameKey) {
    const entries = [...old, added];
    const named = Object.fromEntries(entries.map((entry) => [entry[nameKey], entry]));
    return objectOf(kind, {
      ...named,
      ...entries,
      length: entries.length,
      item: (/** @type {any} */ index) => entries[index >>> 0] ?? null,
      namedItem: (/** @type {any} */ name) => (Object.hasOwn(named, String(name)) ? named[String(name)] : null),
      refresh: () => undefined,
      [Symbol.iterator]: () => entries[Symbol.iterator](),
    }, entries.map((_, index) => String(index)));
  }

  /** @type {{[name: PropertyKey]: any}} */
  const mimeTypeMembers = { type, description: description.name, suffixes: '' };
  const mimeType = objectOf(MimeType, mimeTypeMembers);
  const plugin = objectOf(Plugin, {
    ...description,
    length: 1,
    0: mimeType,
    [type]: mimeType,
    item: (/** @type {any} */ index) => (index >>> 0 === 0 ? mimeType : null),
    namedItem: (/** @type {any} */ name) => (String(name) === type ? mimeType : null),
    [Symbol.iterator]: () => [mimeType][Symbol.iterator](),
  }, ['0']);
  Object.defineProperty(mimeType, 'enabledPlugin', { value: plugin, configurable: true });

  const lists = {
    plugins: longerList(PluginArray, navigator.plugins, plugin, 'name'),
    mimeTypes: longerList(MimeTypeArray, navigator.mimeTypes, mimeType, 'type'),
  };
  for (const [name, list] of Object.entries(lists)) {
    Object.defineProperty(Navigator.prototype, name, {
      get: () => list,
      set: undefined,
      enumerable: true,
      configurable: true,
    });
  }
})();
