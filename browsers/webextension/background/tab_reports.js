import { extension } from './extension.js';

/** @typedef {import('./document_link.js').DocumentLink} DocumentLink */
/** @typedef {import('./document_facts.js').Transfer} Transfer */
/**
 * @typedef {{
 *   documents: {origin: string, elements: number, complaint: string}[],
 *   transfers: Transfer[],
 * }} TabReport
 */

/** Tells the toolbar button's page of one tab, as long as it is open, and counts on the button the
 * transfers that are under way. */
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
    port.onDisconnect.addListener(() => this.readers.delete(port));
    port.postMessage(this.report(tabId));
  }

  /** Something has changed in a document of the tab. @param {number} tabId */
  changed(tabId) {
    const report = this.report(tabId);
    for (const [port, id] of this.readers) {
      if (id === tabId) {
        port.postMessage(report);
      }
    }
    const count = report.transfers.length;
    extension.action.setBadgeText({ tabId, text: count > 0 ? String(count) : '' }).catch(() => {
      // The tab has gone.
    });
  }

  /** @private @param {number} tabId @returns {TabReport} */
  report(tabId) {
    const links = [...this.links.values()].filter((link) => link.tabId === tabId);
    const transfers = links.flatMap(({ facts }) => facts.transfers());
    return {
      documents: links.map(({ origin, complaint, facts }) => ({
        origin,
        elements: facts.elements.size,
        complaint: complaint || ([...facts.elements.values()].find((element) => element.complaint)?.complaint ?? ''),
      })).filter(({ elements }) => elements > 0),
      transfers: [...new Map(transfers.map((transfer) => [transfer.id, transfer])).values()],
    };
  }
}
