'use strict';

/** @typedef {'quiet' | 'promise' | 'task'} WorkKind
 * What the page sees of it: nothing; a promise settled, whose jobs are the next to run; or a task of its own. */

/**
 * Does what the page sees in order, one after the other, and none of it while it is held. A message channel and not a
 * timer: timers are slowed down in tabs that nobody sees.
 */
class TaskQueue {
  constructor() {
    /** @type {{run: () => void, kind: WorkKind}[]} */
    this.work = [];
    this.holds = 0;
    this.isHearing = false;
    this.turn = new MessageChannel();
    this.turn.port1.onmessage = () => this.runOne();
  }

  /**
   * Runs it, which hears a message of the background. That comes in a task of its own: in Chromium, where none comes
   * while the page's script or a request of the page is under way, the first work needs no other.
   * @param {() => void} hear
   */
  hearing(hear) {
    this.isHearing = !isFirefox;
    try {
      hear();
    } finally {
      this.isHearing = false;
    }
  }

  /** @param {() => void} run @param {WorkKind} [kind] */
  push(run, kind = 'task') {
    this.work.push({ run, kind });
    if (this.work.length === 1) {
      this.schedule(this.isHearing);
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
        this.schedule(false);
      }
    }
  }

  /** @private @param {boolean} inThisTask behind the jobs of promises that wait already */
  schedule(inThisTask) {
    if (inThisTask) {
      queueMicrotask(() => this.runOne());
    } else {
      this.turn.port2.postMessage(0);
    }
  }

  /** @private */
  runOne() {
    if (this.holds > 0) {
      return;
    }
    const end = this.work.findIndex(({ kind }) => kind !== 'quiet') + 1;
    const pieces = this.work.splice(0, end || this.work.length);
    try {
      pieces.forEach(({ run }) => run());
    } finally {
      if (this.work.length > 0) {
        this.schedule(pieces.at(-1)?.kind === 'promise');
      }
    }
  }
}
