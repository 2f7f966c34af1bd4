'use strict';

/**
 * The document's tree as the browser has it. A page's pictures and fields that are named like a member stand in its
 * place on the document and on forms, in Chromium for content scripts as well; so what could be one of these is
 * never asked by `node.member`, but by the prototype's own.
 */
const tree = {
  /** @param {Node} node @returns {Node | null} */
  parent: (node) => Reflect.get(Node.prototype, 'parentNode', node),

  /** @param {Node} node @returns {Element | null} */
  parentElement: (node) => Reflect.get(Node.prototype, 'parentElement', node),

  /** @param {Node} node @returns {Node | null} */
  next: (node) => Reflect.get(Node.prototype, 'nextSibling', node),

  /** @type {(node: Node, other: Node) => boolean} */
  contains: (node, other) => Node.prototype.contains.call(node, other),

  /** @type {(element: Element, selector: string) => boolean} */
  matches: (element, selector) => Element.prototype.matches.call(element, selector),

  /** @type {(above: Document | Element, selector: string) => NodeListOf<HTMLElement>} */
  findAll: (above, selector) => /** @type {any} */ (
    (above === document ? Document : Element).prototype.querySelectorAll.call(above, selector)),

  /** What most documents have none of: told four times as quickly as by a selector. */
  hasPlugins: () => ['embed', 'object'].some(
    (name) => Document.prototype.getElementsByTagNameNS.call(
      document, 'http://www.w3.org/1999/xhtml', name).length > 0),

  /** @type {(element: Element, child: Node) => void} */
  append: (element, child) => Element.prototype.append.call(element, child),

  /** @template {keyof HTMLElementTagNameMap} K @param {K} name @returns {HTMLElementTagNameMap[K]} */
  create: (name) => /** @type {any} */ (Document.prototype.createElement.call(document, name)),

  /** A document without a window, where no element is of a class of the page's. @returns {Document} */
  outside: () => Reflect.get(Document.prototype, 'implementation', document).createHTMLDocument(''),

  /** @returns {Element} */
  root: () => Reflect.get(Document.prototype, 'documentElement', document),

  /** What scrolls with the document, and has the window's size. @returns {Element} */
  viewport() {
    const quirky = Reflect.get(Document.prototype, 'compatMode', document) === 'BackCompat';
    return quirky && Reflect.get(Document.prototype, 'body', document) || tree.root();
  },

  /** Chromium's; undefined elsewhere. @returns {any} */
  featurePolicy: () => Reflect.get(Document.prototype, 'featurePolicy', document),

  /** Whether the parser is still at work. */
  isLoading: () => Reflect.get(Document.prototype, 'readyState', document) === 'loading',

  /** @type {(type: string, listener: (event: Event) => void) => void} */
  listen: (type, listener) => EventTarget.prototype.addEventListener.call(document, type, listener),

  /** @type {(type: string, listener: (event: Event) => void) => void} */
  unlisten: (type, listener) => EventTarget.prototype.removeEventListener.call(document, type, listener),

  /** @param {Event} event */
  dispatch: (event) => EventTarget.prototype.dispatchEvent.call(document, event),
};
