'use strict';

/**
 * @typedef {{answer: number, value?: any, refused?: boolean, text?: string, error?: string}} Answer
 * @typedef {{op: string, element?: number, [member: string]: any}} Operation
 */

/**
 * The way to one host program: a port to the background, which starts the host, and the numbers of the
 * operations. It is lost when the host ends, when the extension is updated, or when it is closed.
 */
class HostLink {
  /**
   * @param {TaskQueue} queue
   * @param {(tell: any) => void} tell what the host tells by itself
   * @param {() => void} lost called once
   */
  constructor(queue, tell, lost) {
    this.tell = tell;
    this.lost = lost;
    /** Why nothing works any more; empty while it does. */
    this.complaint = '';
    /** Whether the background has said that it hears requests as well. */
    this.listening = false;
    this.lastNumber = 0;
    /** @type {Map<number, (answer: Answer) => void>} */
    this.pending = new Map();
    const secret = [...crypto.getRandomValues(new Uint32Array(4))].map((part) => part.toString(36));
    this.key = secret.concat(isSandboxedFile() ? 'sandboxed' : []).join('.');
    /** @type {chrome.runtime.Port | null} */
    this.port = null;
    try {
      this.port = extension.runtime.connect({ name: this.key });
      this.port.onMessage.addListener((message) => queue.hearing(() => this.hear(message)));
      this.port.onDisconnect.addListener(() => this.end(extension.runtime?.id ? sentences.hostGone : sentences.updated));
    } catch {
      this.end(sentences.updated);
    }
  }

  /** Characters of JSON: what it says can be written as no more than six times as many, of one byte each. */
  static alwaysFits = 1_000_000;

  /** Whether the operation may travel. @param {Operation} operation */
  static fits(operation) {
    const text = JSON.stringify(operation);
    return text.length < 4_000_000 || new TextEncoder().encode(text).length < 16_700_000;
  }

  /**
   * Sends without waiting; the answer comes later, an error too.
   * @param {Operation} operation
   * @param {(answer: Answer) => void} [settle]
   */
  send(operation, settle) {
    const n = ++this.lastNumber;
    if (this.complaint) {
      settle?.({ answer: n, error: this.complaint });
      return;
    }
    if (settle) {
      this.pending.set(n, settle);
    }
    this.post({ n, ...operation });
  }

  /**
   * Sends, and blocks until the answer is there.
   * @param {Operation} operation
   * @param {SynchronousRequests} requests
   * @returns {Answer}
   */
  sendAndWait(operation, requests) {
    const n = ++this.lastNumber;
    const answer = requests.ask(this, { n, ...operation });
    if (answer?.error === sentences.hostGone) {
      this.end(answer.error);  // the port's word of it comes later
    }
    return answer ?? { answer: n, error: this.complaint || sentences.forbidden };
  }

  /** @param {object} message */
  post(message) {
    try {
      this.port?.postMessage(message);
    } catch {
      this.end(sentences.updated);
    }
  }

  /** @param {string} complaint */
  end(complaint) {
    if (this.complaint) {
      return;
    }
    this.complaint = complaint;
    try {
      this.port?.disconnect();
    } catch {
      // An old extension's port.
    }
    for (const [n, settle] of this.pending) {
      settle({ answer: n, error: complaint });
    }
    this.pending.clear();
    this.lost();
  }

  /** @private @param {any} message one, or several that came together */
  hear(message) {
    if (message.together) {
      message.together.forEach((/** @type {any} */ each) => this.hear(each));
    } else if ('answer' in message) {
      this.pending.get(message.answer)?.(message);
      this.pending.delete(message.answer);
    } else if ('tell' in message) {
      this.tell(message);
    } else if ('listening' in message) {
      this.listening = true;
    } else if ('lost' in message) {
      this.end(message.lost);
    }
  }
}
