/**
 * @typedef {{id: string, direction: string, name: string, percentage: number, rate: number}} Transfer
 */

const ended = ['completed', 'failed', 'cancelled'];

/** The transfers of one document that are under way, read off the events that its elements are told. */
export class DocumentTransfers {
  /** @param {() => void} changed called after each change */
  constructor(changed) {
    this.changed = changed;
    /** @type {Map<number, Map<string, Transfer>>} by the elements' numbers */
    this.byElement = new Map();
  }

  /** @param {any} operation on its way to the host */
  sent(operation) {
    if (operation.op === 'end' && this.byElement.delete(operation.element)) {
      this.changed();
    }
  }

  /** @param {any} message from the host */
  told(message) {
    if (message.tell === 'call' && message.args?.length === 2 && message.args[0] === 'transfer') {
      this.read(message.element, message.args[1]);
    }
  }

  /** @returns {Transfer[]} */
  all() {
    return [...this.byElement.values()].flatMap((transfers) => [...transfers.values()]);
  }

  /** @private @param {number} element @param {any} json the event's text; whatever the application has answered */
  read(element, json) {
    const changes = transfersIn(json);
    if (changes.length === 0) {
      return;
    }
    const known = this.byElement.get(element) ?? new Map();
    this.byElement.set(element, known);
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
