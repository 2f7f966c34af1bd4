import { extension, hostGone, piecesOf } from './extension.js';

/** @typedef {import('./document_link.js').DocumentLink} DocumentLink */

/** Firefox's synchronous way: the page's request is held until the host has answered, and then led to the
 * answer, at an address of the extension. Firefox draws these addresses for each installation, and a page that saw
 * one would know its visitor by it: so no request is led there but the content script's own, which says a key.
 * The key is in the body, since policies, their reports and the page's records of requests tell addresses. */
export class HeldRequests {
  /** @param {Map<string, DocumentLink>} links */
  constructor(links) {
    this.links = links;
    /** @type {Map<string, (pieces: string[]) => void>} by key and number */
    this.held = new Map();
    /** @type {Map<string, string[]>} what is left of a long answer, by the same */
    this.rest = new Map();
    const onRequest = /** @type {any} */ (extension.webRequest.onBeforeRequest);
    onRequest.addListener(
      (/** @type {any} */ details) => this.answerRequest(details),
      { urls: ['*://*/.orvane-ask'], types: ['xmlhttprequest'] },
      ['blocking', 'requestBody']);
  }

  /** @type {import('./document_link.js').SynchronousWay['answer']} */
  answer(link, n, answer) {
    const call = `${link.key}-${n}`;
    this.held.get(call)?.(piecesOf(answer));
    this.held.delete(call);
  }

  /** Before it is told so, the document sends no request. @param {DocumentLink} link */
  begin(link) {
    link.port.postMessage({ listening: true });
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

  /** @private @param {any} details @returns {any} */
  answerRequest(details) {
    /** @param {DocumentLink} [link] */
    const asks = (link) => link?.tabId === details.tabId && link?.frameId === details.frameId;
    if (![...this.links.values()].some(asks)) {
      return { cancel: true };  // unread: it may be large
    }
    const { key, operation, n, part } = bodyOf(details) ?? {};
    const link = this.links.get(key);
    if (!link || !asks(link)) {
      return { cancel: true };
    }
    if (part !== undefined) {
      return this.furtherPiece(`${key}-${n}`, part);
    }
    if (operation === undefined) {
      return redirectTo('ready');
    }
    if (link.asked.has(operation.n)) {
      return { cancel: true };
    }
    const call = `${key}-${operation.n}`;
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
