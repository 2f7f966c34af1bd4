import { extension, hostName, isFirefox } from '../background/extension.js';
import { PieceJoiner } from '../background/piece_joiner.js';

/**
 * @typedef {{name: string, status: 'ok' | 'warning' | 'failed', seen: string, remedy: string}} Finding
 * @typedef {{
 *   version: string, origin: string,
 *   leave: 'allow' | 'deny' | 'ask' | 'never', by?: 'user' | 'administrator', file?: string,
 *   module: {path?: string, loaded?: boolean, error?: string},
 *   check?: {checks?: Finding[], error?: string},
 * }} HostState
 */

/** A host program of the button's own, which is asked what it knows about a site. It makes no element, and
 * ends with the page. */
export class HostQuestion {
  /** @param {string} origin */
  constructor(origin) {
    this.lastNumber = 0;
    /** @type {Map<number, {resolve: (value: any) => void, reject: (error: Error) => void}>} */
    this.open = new Map();
    /** Why nothing can be asked; empty while it can. */
    this.complaint = '';
    const pieces = new PieceJoiner((message) => this.hear(message));
    this.port = extension.runtime.connectNative(hostName);
    this.port.onMessage.addListener((message) => pieces.take(message));
    this.port.onDisconnect.addListener((port) => {
      this.end(/** @type {any} */ (port).error?.message ?? extension.runtime.lastError?.message ?? '');
    });
    this.port.postMessage({
      hello: 1,
      page: false,
      origin,
      address: '',
      agent: navigator.userAgent,
      browser: isFirefox ? 'firefox' : 'chromium',
      version: extension.runtime.getManifest().version,
      private: false,
    });
  }

  /** @param {boolean} check whether to examine the module and the application as well @returns {Promise<HostState>} */
  state(check) {
    return this.ask(check ? { op: 'state', check } : { op: 'state' });
  }

  /** Forgets what the user has said about the site. @returns {Promise<void>} */
  forget() {
    return this.ask({ op: 'leave', leave: 'forget' });
  }

  close() {
    this.port.disconnect();
  }

  /** @private @param {object} operation @returns {Promise<any>} */
  ask(operation) {
    return new Promise((resolve, reject) => {
      if (this.complaint) {
        reject(new Error(this.complaint));
        return;
      }
      const n = ++this.lastNumber;
      this.open.set(n, { resolve, reject });
      this.port.postMessage({ n, ...operation });
    });
  }

  /** @private @param {any} message */
  hear(message) {
    if ('fatal' in message) {
      this.end(message.fatal);
      return;
    }
    const asked = this.open.get(message.answer);
    this.open.delete(message.answer);
    if (message.error !== undefined) {
      asked?.reject(new Error(message.error));
    } else {
      asked?.resolve(message.value);
    }
  }

  /** @private @param {string} reason */
  end(reason) {
    this.complaint ||= reason || extension.i18n.getMessage('hostEnded');
    for (const { reject } of this.open.values()) {
      reject(new Error(this.complaint));
    }
    this.open.clear();
  }
}
