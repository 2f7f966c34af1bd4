/** Joins what the host sends in pieces; everything else passes as it is. */
export class PieceJoiner {
  /** @param {(message: any) => void} deliver */
  constructor(deliver) {
    this.deliver = deliver;
    /** @type {Map<number, string[]>} */
    this.begun = new Map();
  }

  /** @param {any} message */
  take(message) {
    if (!('piece' in message)) {
      this.deliver(message);
      return;
    }
    const texts = this.begun.get(message.id) ?? [];
    texts[message.piece] = message.text;
    this.begun.set(message.id, texts);
    if (message.piece === message.of - 1) {
      this.begun.delete(message.id);
      this.deliver(JSON.parse(texts.join('')));
    }
  }
}
