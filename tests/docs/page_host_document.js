// As much of a document as connect() needs to make elements: each gets a plugin of the page host's.

globalThis.document = {
  body: {
    appendChild(element) { element.attach(); },
    removeChild(element) { element.detach(); },
  },
  createElement() {
    const attributes = {};
    let made = null;
    const own = {
      nodeType: 1,
      parentNode: null,
      setAttribute(name, value) { attributes[name] = String(value); },
      getAttribute(name) { return attributes[name]; },
      set href(relative) { this.address = 'file:///' + relative; },
      get href() { return this.address; },
      attach() {
        made = createPlugin(attributes);
        own.parentNode = document.body;
      },
      detach() {
        destroyPlugin(made);
        made = own.parentNode = null;
      },
    };
    return new Proxy(own, {
      get(target, name) {
        const member = name in own || !made ? own[name] : made[name];
        return member && !(name in own) ? (...args) => made[name](...args) : member;
      },
      set(target, name, value) {
        (name in own || !made ? own : made)[name] = value;
        return true;
      },
    });
  },
};
