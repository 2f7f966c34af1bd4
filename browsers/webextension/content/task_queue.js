'use strict';

/**
 * Does one piece of work a task, in order, and none while it is held. A message channel and not a timer:
 * timers are slowed down in tabs that nobody sees.
 */
class TaskQueue {
  constructor() {
    /** @type {(() => void)[]} */
    this.work = [];
    this.holds = 0;
    this.turn = new MessageChannel();
    this.turn.port1.onmessage = () => this.runOne();
  }

  /** @param {() => void} piece */
  push(piece) {
    this.work.push(piece);
    this.turn.port2.postMessage(0);
  }

  /**
   * Runs it with the queue held. Browsers may run tasks of ours while a synchronous request waits.
   * @template T @param {() => T} call @returns {T}
   */
  holding(call) {
    ++this.holds;
    try {
      return call();
    } finally {
      if (--this.holds === 0 && this.work.length > 0) {
        this.turn.port2.postMessage(0);
      }
    }
  }

  /** @private */
  runOne() {
    if (this.holds > 0) {
      return;
    }
    const piece = this.work.shift();
    if (this.work.length > 0) {
      this.turn.port2.postMessage(0);
    }
    piece?.();
  }
}
