'use strict';

/**
 * Does one piece of work that the page sees a task, in order, and none while it is held. A message channel and not a timer:
 * timers are slowed down in tabs that nobody sees.
 */
class TaskQueue {
  constructor() {
    /** @type {{run: () => void, isQuiet: boolean}[]} */
    this.work = [];
    this.holds = 0;
    this.turn = new MessageChannel();
    this.turn.port1.onmessage = () => this.runOne();
  }

  /** @param {() => void} run @param {boolean} [isQuiet] no code of the page runs: it needs no task of its own */
  push(run, isQuiet = false) {
    this.work.push({ run, isQuiet });
    if (this.work.length === 1) {
      this.turn.port2.postMessage(0);
    }
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
    const end = this.work.findIndex(({ isQuiet }) => !isQuiet) + 1;
    const pieces = this.work.splice(0, end || this.work.length);
    if (this.work.length > 0) {
      this.turn.port2.postMessage(0);
    }
    pieces.forEach(({ run }) => run());
  }
}
