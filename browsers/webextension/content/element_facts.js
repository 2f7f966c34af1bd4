'use strict';

/** What can be read off an element: whether it is one of ours, its parameters and its size. */
const elementFacts = {
  type: 'application/x-orvane-web',

  /** @param {Node | null} node @returns {node is HTMLEmbedElement | HTMLObjectElement} */
  isCandidate(node) {
    return node instanceof HTMLEmbedElement || node instanceof HTMLObjectElement;
  },

  /** @param {Element} element */
  hasType(element) {
    return (element.getAttribute('type') ?? '').trim().toLowerCase() === elementFacts.type;
  },

  /**
   * An element inside an object of our type is what that object shows where there is no plugin.
   * @param {Element} element
   */
  isFallback(element) {
    for (let above = tree.parentElement(element); above; above = tree.parentElement(above)) {
      if (above instanceof HTMLObjectElement && elementFacts.hasType(above)) {
        return true;
      }
    }
    return false;
  },

  /** @param {Node | null} node @returns {node is HTMLEmbedElement | HTMLObjectElement} */
  isOurs(node) {
    return elementFacts.isCandidate(node) && node.isConnected && node.ownerDocument === document &&
      elementFacts.hasType(node) && !elementFacts.isFallback(node);
  },

  /**
   * Attributes, then the `<param>` children of an object.
   * @param {HTMLElement} element
   * @returns {[string, string][]}
   */
  parameters(element) {
    /** @type {[string, string][]} */
    const found = [...element.attributes].map(({ name, value }) => [name.toLowerCase(), value.toWellFormed()]);
    if (element instanceof HTMLObjectElement) {
      for (const child of element.children) {
        if (child.localName === 'param' && child.getAttribute('name')) {
          const name = /** @type {string} */ (child.getAttribute('name'));
          found.push([name.toLowerCase().toWellFormed(), (child.getAttribute('value') ?? '').toWellFormed()]);
        }
      }
    }
    return found;
  },

  /**
   * In CSS pixels: what the attributes say, else what the layout gave it, else what elements of this kind
   * have by default.
   * @param {HTMLElement} element
   */
  size(element) {
    /** @type {(name: string, laidOut: () => number, otherwise: number) => number} */
    const side = (name, laidOut, otherwise) => {
      const said = /^\s*(\d+(?:\.\d+)?)\s*(?:px)?\s*$/.exec(element.getAttribute(name) ?? '');
      return Math.min(Math.round(said ? Number(said[1]) : laidOut() || otherwise), 32767);
    };
    return {
      width: side('width', () => element.offsetWidth, 300),
      height: side('height', () => element.offsetHeight, 150),
    };
  },

  /** Whether the parser has gone on behind the element. @param {Element} element */
  isParsed(element) {
    for (let node = /** @type {Node | null} */ (element); node; node = tree.parent(node)) {
      if (tree.next(node)) {
        return true;
      }
    }
    return !tree.isLoading();
  },
};
