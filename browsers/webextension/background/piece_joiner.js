/** Joins the long strings that the host sends in pieces, before the message that has them; everything else passes as it is. */
export class PieceJoiner {
  /** @param {(message: any) => void} deliver */
  constructor(deliver) {
    this.deliver = deliver;
    /** @type {Map<number, string>} */
    this.strings = new Map();
  }

  /** @param {any} message */
  take(message) {
    if ('piece' in message) {
      this.strings.set(message.piece, (this.strings.get(message.piece) ?? '') + message.text);
    } else if ('whole' in message) {
      this.deliver(this.filled(message.whole));
    } else {
      this.deliver(message);
    }
  }

  /** @private @param {any} value of a message @returns {any} the same with its strings */
  filled(value) {
    if (typeof value !== 'object' || value === null) {
      return value;
    }
    if (value.v === 'pieces') {
      const text = this.strings.get(value.id);
      this.strings.delete(value.id);
      return text;
    }
    for (const name of Object.keys(value)) {
      value[name] = this.filled(value[name]);
    }
    return value;
  }
}
