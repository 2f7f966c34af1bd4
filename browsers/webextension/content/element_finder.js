'use strict';

/**
 * Sees elements of ours come into the document and go out of it. One observer of the tree is all that a
 * page without such an element pays. An element that a script uses before it was seen is asked for by
 * `find`; a document that is being parsed is searched when the parser is done.
 */
class ElementFinder {
  /**
   * @param {(element: HTMLElement) => void} begin
   * @param {(element: Element) => void} end
   * @param {() => Iterable<Element>} begun
   */
  constructor(begin, end, begun) {
    this.begin = begin;
    this.end = end;
    this.begun = begun;
    this.tree = new MutationObserver((records) => this.read(records));
    this.types = new MutationObserver((records) => this.read(records));
    this.searchAgain = 0;
    this.tree.observe(document, { childList: true, subtree: true });
    this.waitForParser();
  }

  /** What happened until now, without waiting for the observer's turn. */
  catchUp() {
    this.read([...this.tree.takeRecords(), ...this.types.takeRecords()]);
  }

  /** All elements of ours in the document begin that have not. */
  search() {
    for (const element of document.querySelectorAll('embed, object')) {
      this.consider(element);
    }
  }

  waitForParser() {
    document.addEventListener('DOMContentLoaded', this.onParsed);
  }

  /** @private */
  onParsed = () => this.search();

  /** @private @param {MutationRecord[]} records */
  read(records) {
    for (const record of records) {
      if (record.target === document) {
        // document.open has taken the listeners away as well.
        this.waitForParser();
        this.onRewritten();
      }
      for (const node of record.removedNodes) {
        this.readRemoved(node);
      }
    }
    for (const record of records) {
      if (record.type === 'attributes') {
        this.readType(/** @type {Element} */ (record.target));
      }
      for (const node of record.addedNodes) {
        this.readAdded(node);
      }
    }
    this.onRead();
  }

  /** Called when something in the document has come or gone. */
  onRead() {}

  /** Called when the document's own children changed. */
  onRewritten() {}

  /** @private @param {Node} node */
  readRemoved(node) {
    for (const element of [...this.begun()]) {
      if (node.contains(element) || !element.isConnected) {
        this.end(element);
      }
    }
  }

  /** @private @param {Node} node */
  readAdded(node) {
    if (!(node instanceof Element)) {
      return;
    }
    if (elementFacts.isCandidate(node)) {
      this.notice(node);
    }
    if (node.firstElementChild) {
      for (const element of node.querySelectorAll('embed, object')) {
        this.notice(element);
      }
    }
  }

  /** @private @param {Element} element */
  readType(element) {
    if (elementFacts.isOurs(element)) {
      this.notice(element);
    } else {
      this.end(element);
    }
  }

  /** The type may come, change and go while the element stays. @param {Element} element */
  watchType(element) {
    this.types.observe(element, { attributes: true, attributeFilter: ['type'] });
  }

  /** @private @param {Element} element */
  notice(element) {
    this.watchType(element);
    if (document.readyState !== 'loading') {
      this.consider(element);
    } else if (!this.searchAgain) {
      // A document that a script writes and never closes is never done.
      this.searchAgain = setTimeout(() => {
        this.searchAgain = 0;
        this.search();
      }, 1000);
    }
  }

  /** @private @param {Element} element */
  consider(element) {
    if (elementFacts.isOurs(element) && elementFacts.isParsed(element)) {
      this.begin(element);
    }
  }
}
