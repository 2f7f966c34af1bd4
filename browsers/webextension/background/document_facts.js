/**
 * @typedef {{id: string, direction: string, name: string, percentage: number, rate: number}} Transfer
 */

const ended = ['completed', 'failed', 'cancelled'];

/** What the toolbar's button tells of one document, read off the messages that pass. */
export class DocumentFacts {
  /** @param {() => void} changed called after each change */
  constructor(changed) {
    this.changed = changed;
    /** @type {Map<number, {complaint: string, transfers: Map<string, Transfer>}>} by their numbers */
    this.elements = new Map();
    /** @type {Map<number, number>} the elements that are being made, by the operation's number */
    this.making = new Map();
  }

  /** @param {any} operation on its way to the host */
  sent(operation) {
    if (operation.op === 'make') {
      this.elements.set(operation.element, { complaint: '', transfers: new Map() });
      this.making.set(operation.n, operation.element);
      this.changed();
    } else if (operation.op === 'end') {
      this.elements.delete(operation.element);
      this.changed();
    }
  }

  /** @param {any} message from the host */
  told(message) {
    const made = this.making.get(message.answer);
    if (made !== undefined) {
      this.making.delete(message.answer);
      this.readMade(made, message);
    } else if (message.tell === 'call' && message.args?.length === 2 && message.args[0] === 'transfer') {
      this.readTransfers(message.element, message.args[1]);
    }
  }

  /** @returns {Transfer[]} under way, each once */
  transfers() {
    const all = [...this.elements.values()].flatMap(({ transfers }) => [...transfers.values()]);
    return [...new Map(all.map((transfer) => [transfer.id, transfer])).values()];
  }

  /** @private @param {number} number @param {any} answer */
  readMade(number, answer) {
    const element = this.elements.get(number);
    if (element && answer.error !== undefined) {
      element.complaint = answer.error;
      this.changed();
    }
  }

  /** @private @param {number} number @param {any} json the event's text; whatever the application has answered */
  readTransfers(number, json) {
    const known = this.elements.get(number)?.transfers;
    const changes = transfersIn(json);
    if (!known || changes.length === 0) {
      return;
    }
    for (const change of changes) {
      if (ended.includes(change.status)) {
        known.delete(String(change.id));
      } else {
        known.set(String(change.id), summaryOf(change));
      }
    }
    this.changed();
  }
}

/** @param {any} json @returns {any[]} */
function transfersIn(json) {
  try {
    const { transfers } = JSON.parse(json);
    return Array.isArray(transfers) ? transfers.filter((each) => each && typeof each === 'object') : [];
  } catch {
    return [];
  }
}

/** @param {any} transfer @returns {Transfer} */
function summaryOf(transfer) {
  const file = transfer.files?.[0];
  const name = String(file?.path || file?.source || '').split('/').filter(Boolean).at(-1) ?? '';
  return {
    id: String(transfer.id),
    direction: String(transfer.direction),
    name,
    percentage: Number(transfer.percentage) || 0,
    rate: Number(transfer.rate) || 0,
  };
}
