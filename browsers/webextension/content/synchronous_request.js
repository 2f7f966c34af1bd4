'use strict';

/**
 * Blocks the page until an answer is there, by synchronous requests that the extension answers and that
 * never reach a network. Firefox: one request, held by the background until the host has answered.
 * Chromium: the message goes by the port, and requests are repeated until the background has made a rule
 * that leads the next one to the answer.
 */
class SynchronousRequests {
  constructor() {
    /** Where requests of this document may go; empty until one was answered. */
    this.base = '';
    this.answers = [extension.runtime.getURL('answer.txt?'), 'data:text/plain,answer?'];
    this.pending = [extension.runtime.getURL('pending.txt'), 'data:text/plain,pending'];
  }

  /** Whether the page may wait at all, and the background listens. */
  usable() {
    if (!this.base) {
      const bases = ['https://orvane.invalid'];
      // A policy that allows nothing but 'self' holds in Firefox for content scripts as well.
      if (isFirefox && self.origin.startsWith('http')) {
        bases.push(self.origin);
      }
      this.base = bases.find((base) => this.isReady(base)) ?? '';
    }
    return this.base !== '';
  }

  /**
   * @param {HostLink} link
   * @param {Operation & {n: number}} operation
   * @returns {Answer | null} null when the way broke
   */
  ask(link, operation) {
    const place = `/${isFirefox ? '.orvane-ask' : '.orvane-call'}/${link.key}-${operation.n}`;
    const address = this.base + place;
    try {
      const first = isFirefox
        ? this.fetch('POST', address, JSON.stringify(operation))
        : this.poll(link, operation, address);
      return first === null ? null : this.complete(first, address);
    } catch {
      link.post({ skip: operation.n });
      return null;
    } finally {
      if (!isFirefox) {
        link.post({ taken: operation.n });
      }
    }
  }

  /**
   * The background makes Chromium's rules, so before its first start ever a request fails there that will
   * soon be answered.
   * @private
   * @param {string} base
   */
  isReady(base) {
    const deadline = Date.now() + 10_000;
    while (Date.now() < deadline) {
      try {
        if (this.fetch('GET', base + '/.orvane-ready') !== null) {
          return true;
        }
      } catch {
        if (isFirefox || this.forbidden() || performance.now() > 10_000) {
          return false;
        }
      }
    }
    return false;
  }

  /** @private */
  forbidden() {
    const policy = /** @type {any} */ (document).featurePolicy;
    return policy !== undefined && !policy.allowsFeature('sync-xhr');
  }

  /**
   * @private
   * @param {HostLink} link
   * @param {Operation & {n: number}} operation
   * @param {string} address
   */
  poll(link, operation, address) {
    link.post({ ...operation, sync: true });
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
   * What stands behind the answer's address, or null while there is none. Throws when the request failed.
   * @private
   * @param {string} method
   * @param {string} address
   * @param {string} [body]
   */
  fetch(method, address, body) {
    const request = new XMLHttpRequest();
    request.open(method, address, false);
    request.send(body ?? null);
    const found = this.answers.find((address) => request.responseURL.startsWith(address));
    if (found) {
      return request.responseURL.slice(found.length);
    }
    if (!this.pending.includes(request.responseURL)) {
      throw new Error('answered by somebody else');
    }
    return null;
  }

  /**
   * Fetches what is left of a long answer. The pieces are cut out of the encoded text.
   * @private
   * @param {string} first the number of pieces, a slash, the first piece
   * @param {string} address
   * @returns {Answer}
   */
  complete(first, address) {
    const slash = first.indexOf('/');
    let encoded = first.slice(slash + 1);
    for (let part = 1; part < Number(first.slice(0, slash)); ++part) {
      const piece = this.fetch('GET', `${address}?part=${part}`);
      if (piece === null) {
        throw new Error('a piece is missing');
      }
      encoded += piece.slice(piece.indexOf('/') + 1);
    }
    return JSON.parse(decodeURIComponent(encoded));
  }
}
