'use strict';

/**
 * Answers the page's end, which may be forged in every part: it can ask nothing that an element of ours
 * would not let any script of the page do.
 */
class PageRequests {
  /** @param {TaskQueue} queue @param {(tell: any[]) => void} tellPage */
  constructor(queue, tellPage) {
    this.queue = queue;
    this.tellPage = tellPage;
    this.synchronous = new SynchronousRequests();
  }

  /**
   * @param {{number: number, link: HostLink} | undefined} plugin the element's; none for other elements
   * @param {string} text
   * @returns {[string, any]} what to do in the page, and with what
   */
  answer(plugin, text) {
    if (!plugin) {
      return ['none', null];
    }
    const request = JSON.parse(text);
    if (!Array.isArray(request) || request[0] === 'use') {
      return ['ours', null];
    }
    const later = request[0] === 'later';
    const operation = PageRequests.operation(plugin.number, later ? request.slice(2) : request);
    const obstacle = !operation ? 'Orvane Web: there is no such member.'
      : plugin.link.complaint || ((text.length < HostLink.alwaysFits || HostLink.fits(operation)) ? '' : sentences.tooLarge);
    if (!operation || obstacle) {
      return ['unsent', obstacle];
    }
    if (later) {
      plugin.link.send({ ...operation, later: true }, (answer) => {
        this.queue.push(() => this.tellPage(['settle', request[1], ...PageRequests.outcome(answer)]), 'promise');
      });
      return ['value', null];
    }
    return this.wait(plugin.link, operation);
  }

  /** @private @param {HostLink} link @param {Operation} operation @returns {[string, any]} */
  wait(link, operation) {
    return this.queue.holding(() => {
      if (this.synchronous.usable(link)) {
        return PageRequests.outcome(link.sendAndWait(operation, this.synchronous));
      }
      const callback = operation.op === 'call' && operation.name.endsWith('Async') && operation.args.at(-1);
      if (!callback?.callable) {
        return ['unsent', link.complaint || sentences.forbidden];
      }
      link.send(operation, (answer) => this.passOn(answer, callback.id));
      return ['value', null];
    });
  }

  /**
   * The result of an Async method where the page cannot wait for it.
   * @private @param {Answer} answer @param {number} callback
   */
  passOn(answer, callback) {
    const [kind, value] = PageRequests.outcome(answer);
    if (kind !== 'value') {
      this.queue.push(() => this.tellPage(['throw', value]));
    } else if (typeof value === 'string') {
      this.queue.push(() => this.tellPage(['call', callback, [value]]));
    }
  }

  /**
   * @private @param {number} element @param {any[]} request
   * @returns {Operation | null} null for what no element has
   */
  static operation(element, [op, name, value]) {
    const known = op === 'call' ? memberNames.methods : memberNames.properties;
    if (!known.includes(name)) {
      return null;
    }
    switch (op) {
      case 'call':
        return Array.isArray(value) ? { op, element, name, args: value } : null;
      case 'get':
        return { op, element, name };
      case 'set':
        return { op, element, name, value };
      default:
        return null;
    }
  }

  /** @private @param {Answer} answer @returns {[string, any]} */
  static outcome(answer) {
    if (answer.error !== undefined) {
      return ['error', answer.error];
    }
    if (answer.refused) {
      return ['refused', answer.text ?? null];
    }
    return ['value', 'value' in answer ? answer.value : { v: 'undefined' }];
  }
}
