import { extension, listen } from './extension.js';

/** @typedef {import('./document_link.js').DocumentLink} DocumentLink */
/** @typedef {import('./document_transfers.js').Transfer} Transfer */
/** Tells the toolbar button's page, as long as it is open, of a tab's transfers that are under way, and
 * counts them on the button. */
export class TabReports {
  /** @param {Map<string, DocumentLink>} links */
  constructor(links) {
    this.links = links;
    /** @type {Map<chrome.runtime.Port, number>} the tabs that are looked at */
    this.readers = new Map();
  }

  /** Whether the port is one of the button's page. @param {chrome.runtime.Port} port */
  static isReader(port) {
    return port.name.startsWith('popup ') && (port.sender?.url ?? '').startsWith(extension.runtime.getURL('popup/'));
  }

  /** @param {chrome.runtime.Port} port */
  serve(port) {
    const tabId = Number(port.name.slice('popup '.length));
    this.readers.set(port, tabId);
    const remove = listen(port.onDisconnect, () => {
      remove();
      this.readers.delete(port);
    });
    port.postMessage(this.transfers(tabId));
  }

  /** The transfers of a document of the tab have changed. @param {number} tabId */
  changed(tabId) {
    const transfers = this.transfers(tabId);
    for (const [port, id] of this.readers) {
      if (id === tabId) {
        port.postMessage(transfers);
      }
    }
    const count = transfers.length;
    extension.action.setBadgeText({ tabId, text: count > 0 ? String(count) : '' }).catch(() => {
      // The tab has gone.
    });
  }

  /** Each once, though several elements may be told of it. @private @param {number} tabId @returns {Transfer[]} */
  transfers(tabId) {
    const links = [...this.links.values()].filter((link) => link.tabId === tabId);
    const told = links.flatMap(({ transfers }) => transfers.all());
    return [...new Map(told.map((transfer) => [transfer.id, transfer])).values()];
  }
}
