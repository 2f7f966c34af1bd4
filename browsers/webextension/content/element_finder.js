'use strict';

/** So many changes at once are not read one by one: the document is searched instead. */
const manyChanges = 50;

/**
 * Sees elements of ours come into the document and go out of it. Until the parser is done, nothing watches
 * the tree: an element that a script uses before is asked for by `find`, the others begin when the document
 * is searched then. Afterwards, or from the first element's beginning on, one observer of the tree is all that a
 * page pays.
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
    /** @type {MutationObserver | undefined} of the types of elements that may be ours */
    this.types = undefined;
    this.isWatching = false;
    /** @type {Element | null} the document's, as last seen */
    this.root = null;
    this.later = 0;
    this.waitForParser();
    if (tree.isLoading()) {
      this.searchLater();
    }
  }

  /** What happened until now, without waiting for the observer's turn. */
  catchUp() {
    if (this.isWatching) {
      this.read(this.tree.takeRecords());
      this.readTypes(this.types?.takeRecords() ?? []);
    }
  }

  /** All elements of ours in the document begin that have not, and are seen from now on. */
  search() {
    this.watchTree();
    if (!tree.hasPlugins()) {
      return;
    }
    for (const element of tree.findAll(document, 'embed, object')) {
      this.watchType(element);
      this.consider(element);
    }
  }

  waitForParser() {
    tree.listen('DOMContentLoaded', this.onParsed);
  }

  /** @private */
  onParsed = () => {
    clearTimeout(this.later);
    this.later = 0;
    this.search();
  };

  /** A document that a script writes and never closes is never done. @private */
  searchLater() {
    this.later ||= setTimeout(() => {
      this.later = 0;
      this.search();
    }, 1000);
  }

  /** @private */
  watchTree() {
    if (!this.isWatching) {
      this.isWatching = true;
      this.root = tree.root();
      this.tree.observe(document, { childList: true, subtree: true });
    }
  }

  /** @private @param {MutationRecord[]} records */
  read(records) {
    if (records.length === 0) {
      return;
    }
    if (this.root !== tree.root()) {
      // document.open has taken the listeners away as well.
      this.root = tree.root();
      this.waitForParser();
      this.onRewritten();
    }
    this.readAllRemoved(records);
    if (records.length > manyChanges) {
      this.noticeIn(document);
    } else {
      for (const record of records) {
        record.addedNodes.forEach((node) => this.readAdded(node));
      }
    }
    this.onRead();
  }

  /** Called when something in the document has come or gone. */
  onRead() {}

  /** Called when the document's own root changed. */
  onRewritten() {}

  /** @private @param {MutationRecord[]} records */
  readAllRemoved(records) {
    if ([...this.begun()].length > 0) {
      for (const record of records) {
        record.removedNodes.forEach((node) => this.readRemoved(node));
      }
    }
  }

  /** @private @param {Node} node */
  readRemoved(node) {
    for (const element of [...this.begun()]) {
      if (tree.contains(node, element) || !element.isConnected) {
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
    this.noticeIn(node);
  }

  /** @private @param {Document | Element} above */
  noticeIn(above) {
    for (const element of tree.findAll(above, 'embed, object')) {
      this.notice(element);
    }
  }

  /** @private @param {MutationRecord[]} records */
  readTypes(records) {
    for (const { target } of records) {
      if (elementFacts.isOurs(target)) {
        this.notice(target);
      } else {
        this.end(/** @type {Element} */ (target));
      }
    }
  }

  /** The type may come, change and go while the element stays. @param {Element} element */
  watchType(element) {
    this.watchTree();
    this.types ??= new MutationObserver((records) => this.readTypes(records));
    this.types.observe(element, { attributes: true, attributeFilter: ['type'] });
  }

  /** @private @param {Element} element */
  notice(element) {
    this.watchType(element);
    if (!tree.isLoading()) {
      this.consider(element);
    } else {
      this.searchLater();
    }
  }

  /** @private @param {Element} element */
  consider(element) {
    if (elementFacts.isOurs(element) && elementFacts.isParsed(element)) {
      this.begin(element);
    }
  }
}
