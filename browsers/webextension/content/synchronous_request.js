'use strict';

/** No site's: what is asked there reaches nobody, whatever happens. */
const anyHost = 'https://orvane.invalid';

/**
 * Blocks the page until an answer is there, by synchronous requests that the extension answers and that
 * never reach a network. Firefox: one request, held by the background until the host has answered.
 * Chromium: the message goes by the port, and requests are repeated until the background has made a rule
 * that leads the next one to the answer.
 */
class SynchronousRequests {
  constructor() {
    /** Where requests of this document may go; empty until one was answered, and when one fails later. */
    this.base = '';
    this.wasAnswered = false;
    /** @type {string[]} where answers come from */
    this.answers = [];
    this.pending = 'data:text/plain,pending';
    /** @type {{[character: string]: string}} in the background's texts, for each other */
    this.partners = { '"': '!', '!': '"', '{': '(', '(': '{', '}': ')', ')': '}' };
    /** @type {{taken?: number}} Chromium: the call whose answer was read last */
    this.taken = {};
  }

  /** Whether the page may wait at all, and the background listens. @param {HostLink} link */
  usable(link) {
    if (isFirefox) {
      this.waitForBackground(link);
    }
    if (!this.base && !link.complaint) {
      this.base = isFirefox ? this.baseOfFirefox(link) : this.baseOfChromium();
      this.wasAnswered ||= this.base !== '';
    }
    return this.base !== '';
  }

  /**
   * @param {HostLink} link
   * @param {Operation & {n: number}} operation
   * @returns {Answer | null} null when the way broke
   */
  ask(link, operation) {
    const n = operation.n;
    try {
      if (isFirefox) {
        return this.complete(this.askOnce(link, operation), (part) => this.askBackground(link, { n, part }));
      }
      const address = `${this.base}/.orvane-call/${link.key}-${n}`;
      const first = this.poll(link, operation, address);
      return first === null ? null : this.complete(first, (part) => this.fetch('GET', `${address}?part=${part}`));
    } catch {
      this.base = '';  // the page may have a stricter policy now, or is being left
      link.post({ skip: n });
      return null;
    } finally {
      if (!isFirefox) {
        this.sayTaken(link, n);
      }
    }
  }

  /**
   * No request may leave before the background can catch it: it could reach the site. The background's word that
   * it can comes by the port, which is heard while a file of the extension is loaded; no page's policy forbids that.
   * @private
   * @param {HostLink} link
   */
  waitForBackground(link) {
    const deadline = Date.now() + 10_000;
    while (!link.listening && !link.complaint) {
      if (Date.now() > deadline) {
        link.end(sentences.hostGone);
        return;
      }
      const request = new XMLHttpRequest();
      request.open('GET', extension.runtime.getURL('answer.txt'), false);
      request.send();
    }
  }

  /** @private @param {HostLink} link */
  baseOfFirefox(link) {
    const bases = [anyHost];
    // A policy that allows nothing but 'self' holds in Firefox for content scripts as well.
    if (self.origin.startsWith('http')) {
      bases.push(self.origin);
    }
    return bases.find((base) => {
      try {
        return this.askBackground(link, {}, base) !== '';
      } catch {
        return false;
      }
    }) ?? '';
  }

  /**
   * The background makes the rules, so before its first start ever a request fails that will soon be answered.
   * @private
   */
  baseOfChromium() {
    const deadline = Date.now() + 10_000;
    while (Date.now() < deadline) {
      try {
        if (this.fetch('GET', `${anyHost}/.orvane-ready`) !== null) {
          return anyHost;
        }
      } catch (error) {
        if (this.wasAnswered || this.forbidden(error) || performance.now() > 10_000) {
          return '';
        }
      }
    }
    return '';
  }

  /** A page that is being left may not wait either; only the error tells. @private @param {any} error */
  forbidden(error) {
    if (/page dismissal/.test(error.message)) {
      return true;
    }
    const policy = tree.featurePolicy();
    return policy !== undefined && !policy.allowsFeature('sync-xhr');
  }

  /**
   * @private
   * @param {HostLink} link
   * @param {Operation & {n: number}} operation
   * @param {string} address
   */
  poll(link, operation, address) {
    link.post({ ...operation, sync: true, ...this.taken });
    this.taken = {};
    let sign = Date.now() + 5000;
    for (;;) {
      // What stands below this address is one call's as well: the request is led through several.
      const answer = this.fetch('GET', `${address}/`);
      if (answer !== null) {
        return answer;
      }
      if (link.complaint || !extension.runtime?.id) {
        return null;
      }
      if (Date.now() > sign) {
        // A background that died meanwhile knows nothing of the call; this starts it, and it says so.
        sign = Date.now() + 5000;
        extension.runtime.sendMessage({ waiting: link.key, n: operation.n }).catch(() => {});
      }
    }
  }

  /**
   * The answer's rule may go. Mostly the next call follows at once, and takes the word along.
   * @private
   * @param {HostLink} link
   * @param {number} n
   */
  sayTaken(link, n) {
    this.taken = { taken: n };
    setTimeout(() => {
      if (this.taken.taken === n) {
        link.post(this.taken);
        this.taken = {};
      }
    }, 0);
  }

  /**
   * The page may have a stricter policy now, which its own site is left by. The background takes no number twice.
   * @private
   * @param {HostLink} link
   * @param {Operation & {n: number}} operation
   */
  askOnce(link, operation) {
    try {
      return this.askBackground(link, { operation });
    } catch (error) {
      this.base = '';
      if (!this.usable(link)) {
        throw error;
      }
      return this.askBackground(link, { operation });
    }
  }

  /**
   * @private
   * @param {HostLink} link
   * @param {object} question
   * @returns {string} what stands behind the answer's address
   */
  askBackground(link, question, base = this.base) {
    const answer = this.fetch('POST', `${base}/.orvane-ask`, JSON.stringify({ key: link.key, ...question }));
    if (answer === null) {
      throw new Error('answered by somebody else');
    }
    return answer;
  }

  /**
   * What stands behind the answer's address, or null while there is none. Throws when the request failed.
   * @private
   * @param {string} method
   * @param {string} address
   * @param {string} [body]
   */
  fetch(method, address, body) {
    if (this.answers.length === 0) {
      this.answers.push(extension.runtime.getURL('answer.txt?'), 'data:text/plain,answer?');
    }
    const request = new XMLHttpRequest();
    request.open(method, address, false);
    request.send(body ?? null);
    const found = this.answers.find((address) => request.responseURL.startsWith(address));
    if (found) {
      return request.responseURL.slice(found.length);
    }
    if (request.responseURL !== this.pending) {
      throw new Error('answered by somebody else');
    }
    return null;
  }

  /**
   * Fetches what is left of a long answer. The pieces are cut out of the encoded text.
   * @private
   * @param {string} first the number of pieces, a slash, the first piece
   * @param {(part: number) => string | null} further
   * @returns {Answer}
   */
  complete(first, further) {
    const slash = first.indexOf('/');
    let encoded = first.slice(slash + 1);
    for (let part = 1; part < Number(first.slice(0, slash)); ++part) {
      const piece = further(part);
      if (piece === null) {
        throw new Error('a piece is missing');
      }
      encoded += piece.slice(piece.indexOf('/') + 1);
    }
    const { partners, ...answer } = JSON.parse(decodeURIComponent(encoded));
    if (partners !== undefined) {
      answer.value = partners.replace(/[!"(){}]/g, (/** @type {string} */ found) => this.partners[found]);
    }
    return answer;
  }
}
