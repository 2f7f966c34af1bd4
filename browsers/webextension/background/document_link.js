import { DocumentTransfers } from './document_transfers.js';
import { PieceJoiner } from './piece_joiner.js';
import { extension, hostGone, hostName, isFirefox, listen } from './extension.js';

/**
 * @typedef {{
 *   begin(link: DocumentLink): void,
 *   answer(link: DocumentLink, n: number, answer: object): void,
 *   taken(link: DocumentLink, n: number): void,
 *   drop(link: DocumentLink): void,
 * }} SynchronousWay how an answer reaches a page that stands still
 */

/** One document's port and its host program. Relays both ways; the only messages it makes are the host's
 * greeting, from what the browser vouches for, and the word that the host is gone. */
export class DocumentLink {
  /**
   * @param {chrome.runtime.Port} port
   * @param {SynchronousWay} way
   * @param {(origin: string, leave: string) => void} noteLeave
   * @param {(tabId: number) => void} changed told when `transfers` change
   */
  constructor(port, way, noteLeave, changed) {
    this.port = port;
    this.way = way;
    this.noteLeave = noteLeave;
    const sender = /** @type {chrome.runtime.MessageSender} */ (port.sender);
    this.key = port.name;
    this.tabId = /** @type {number} */ (sender.tab?.id);
    this.frameId = sender.frameId;
    this.origin = this.key.endsWith('.sandboxed') ? 'null' : originOf(sender);
    /** @type {Set<number>} operations whose answers the page stands still for */
    this.awaited = new Set();
    /** @type {Set<number>} the latest operations of that kind, answered or not */
    this.asked = new Set();
    this.transfers = new DocumentTransfers(() => changed(this.tabId));
    this.complaint = '';
    this.greeted = false;
    this.pieces = new PieceJoiner((message) => this.deliver(message));
    this.host = extension.runtime.connectNative(hostName);
    this.listeners = [
      listen(port.onMessage, (/** @type {any} */ message) => this.relay(message)),
      listen(this.host.onMessage, (/** @type {any} */ message) => this.pieces.take(message)),
      listen(this.host.onDisconnect, (/** @type {chrome.runtime.Port} */ host) => this.lose(host)),
    ];
    this.host.postMessage({
      hello: 1,
      origin: this.origin,
      address: sender.url ?? '',
      agent: navigator.userAgent,
      browser: isFirefox ? 'firefox' : 'chromium',
      version: extension.runtime.getManifest().version,
      private: sender.tab?.incognito === true,
      together: true,
    });
  }

  /** @param {any} message from the content script */
  relay(message) {
    if ('taken' in message) {
      this.awaited.delete(message.taken);  // an answer that is still to come is nobody's
      this.way.taken(this, message.taken);
    }
    if ('skip' in message) {
      // The host takes each number once, and may have this one: its answer can be lost behind it.
      if (!this.asked.has(message.skip)) {
        this.toHost({ n: message.skip, op: 'skip' });
      }
    } else if (message.sync) {
      const { sync, taken, ...operation } = message;
      this.ask(operation);
    } else if ('n' in message) {
      this.transfers.sent(message);
      this.toHost(message);
    }
  }

  /** Relays an operation whose answer goes the synchronous way. @param {any} operation */
  ask(operation) {
    this.awaited.add(operation.n);
    this.asked.add(operation.n);
    if (this.asked.size > 100) {
      this.asked.delete([...this.asked][0]);
    }
    if (this.complaint) {
      this.deliver({ answer: operation.n, error: this.complaint });
    } else {
      this.toHost(operation);
    }
  }

  /** @private @param {object} message */
  toHost(message) {
    if (!this.complaint) {
      this.host.postMessage(message);
    }
  }

  /** @private @param {any} message from the host, whole: one, or several that came together */
  deliver(message) {
    const all = message.together ?? [message];
    const forPage = all.filter((/** @type {any} */ each) => !this.take(each));
    if (forPage.length > 0) {
      this.port.postMessage(forPage.length === 1 ? forPage[0] : { together: forPage });
    }
    const last = all.at(-1);
    if (last && 'fatal' in last) {
      this.giveUp(`Orvane Web: ${last.fatal}`);
      this.host.disconnect();  // it says no more, and shall end
    }
  }

  /** @private @param {any} message @returns {boolean} whether it is not for the content script */
  take(message) {
    this.transfers.told(message);
    if ('hello' in message) {
      this.greeted = true;
    } else if (message.tell === 'leave') {
      if (message.origin === this.origin) {
        this.noteLeave(message.origin, message.leave);
      }
    } else if (this.awaited.delete(message.answer)) {
      this.way.answer(this, message.answer, message);
    } else {
      return 'fatal' in message;
    }
    return true;
  }

  /** @private @param {chrome.runtime.Port} host */
  lose(host) {
    const reason = extension.runtime.lastError?.message ?? /** @type {any} */ (host).error?.message ?? '';
    this.giveUp(this.greeted ? hostGone
      : `Orvane Web: the program orvane-web-host could not be started${reason ? ` (${reason})` : ''}.` +
        ' Is the package orvane-web-extension installed completely?');
  }

  /** Nothing comes from the host any more. @private @param {string} complaint */
  giveUp(complaint) {
    this.complaint ||= complaint;
    for (const n of [...this.awaited]) {
      this.deliver({ answer: n, error: this.complaint });
    }
    this.port.postMessage({ lost: this.complaint });
  }

  /** The document has gone. */
  close() {
    this.complaint ||= hostGone;
    this.host.disconnect();
    this.listeners.forEach((remove) => remove());
    this.way.drop(this);
  }
}

/** @param {chrome.runtime.MessageSender} sender */
function originOf(sender) {
  // Firefox gives no file an origin; the content script says which are in a sandbox.
  if (isFirefox && sender.url?.startsWith('file:')) {
    return 'file://';
  }
  return sender.origin ?? 'null';
}
