import { extension, hostGone, piecesOf, readyRule } from './extension.js';

/** @typedef {import('./document_link.js').DocumentLink} DocumentLink */

/** Firefox's synchronous way: the page's request is held until the host has answered, and then led to the
 * answer. No request is answered that does not come from the document that its key belongs to. */
export class HeldRequests {
  /** @param {Map<string, DocumentLink>} links */
  constructor(links) {
    this.links = links;
    /** @type {Map<string, (pieces: string[]) => void>} by key and number */
    this.held = new Map();
    /** @type {Map<string, string[]>} what is left of a long answer, by the same */
    this.rest = new Map();
    /** @type {Map<string, (() => void)[]>} requests that came before the port of their document, by key */
    this.early = new Map();
    const onRequest = /** @type {any} */ (extension.webRequest.onBeforeRequest);
    onRequest.addListener(
      (/** @type {any} */ details) => this.answerRequest(details),
      { urls: ['*://*/.orvane-ask/*'], types: ['xmlhttprequest'] },
      ['blocking', 'requestBody']);
    extension.declarativeNetRequest.updateSessionRules({ removeRuleIds: [readyRule.id], addRules: [readyRule] });
  }

  /** @type {import('./document_link.js').SynchronousWay['answer']} */
  answer(link, n, answer) {
    const call = `${link.key}-${n}`;
    this.held.get(call)?.(piecesOf(answer));
    this.held.delete(call);
  }

  /** @param {DocumentLink} link */
  begin(link) {
    this.early.get(link.key)?.forEach((go) => go());
    this.early.delete(link.key);
  }

  taken() {}

  /** @param {DocumentLink} link */
  drop(link) {
    for (const call of [...this.held.keys()].filter((key) => key.startsWith(`${link.key}-`))) {
      this.held.get(call)?.(piecesOf({ answer: 0, error: hostGone }));
      this.held.delete(call);
    }
    for (const call of [...this.rest.keys()].filter((key) => key.startsWith(`${link.key}-`))) {
      this.rest.delete(call);
    }
  }

  /**
   * A document's port was opened before its request was sent, but this script, just started, may hear of the
   * request first.
   * @private @param {string} key
   */
  async linkOf(key) {
    if (key && !this.links.has(key)) {
      await new Promise((resolve) => {
        this.early.set(key, [...(this.early.get(key) ?? []), () => resolve(undefined)]);
        setTimeout(resolve, 5000);
      });
      this.early.delete(key);
    }
    return this.links.get(key);
  }

  /** @private @param {any} details @returns {Promise<any>} */
  async answerRequest(details) {
    const [, key, number, part] = /\/\.orvane-ask\/([^/?]+)-(\d+)(?:\?part=(\d+))?$/.exec(details.url) ?? [];
    const link = await this.linkOf(key);
    if (!link || link.tabId !== details.tabId || link.frameId !== details.frameId) {
      return { cancel: true };
    }
    const call = `${key}-${number}`;
    if (part !== undefined) {
      return this.furtherPiece(call, Number(part));
    }
    const operation = bodyOf(details);
    // A page that has learned its key may ask here as well, and no more than its elements' members would.
    if (operation?.n !== Number(number) || !['call', 'get', 'set'].includes(operation.op) || this.held.has(call)) {
      return { cancel: true };
    }
    return new Promise((resolve) => {
      this.held.set(call, (pieces) => {
        if (pieces.length > 1) {
          this.rest.set(call, pieces);
        }
        resolve(redirectTo(pieces[0]));
      });
      link.ask(operation);
    });
  }

  /** @private @param {string} call @param {number} part */
  furtherPiece(call, part) {
    const pieces = this.rest.get(call);
    if (!pieces?.[part]) {
      return { cancel: true };
    }
    if (part === pieces.length - 1) {
      this.rest.delete(call);
    }
    return redirectTo(pieces[part]);
  }
}

/** @param {string} piece */
function redirectTo(piece) {
  return { redirectUrl: extension.runtime.getURL('answer.txt') + '?' + piece };
}

/** @param {any} details */
function bodyOf(details) {
  const parts = (details.requestBody?.raw ?? []).map((/** @type {any} */ part) => new Uint8Array(part.bytes));
  const decoder = new TextDecoder();
  try {
    return JSON.parse(
      parts.map((/** @type {Uint8Array} */ part) => decoder.decode(part, { stream: true })).join('') + decoder.decode());
  } catch {
    return null;
  }
}
