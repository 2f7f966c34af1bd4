'use strict';

/** @typedef {'quiet' | 'promise' | 'task'} WorkKind
 * What the page sees of it: nothing; a promise settled, whose jobs are the next to run; or a task of its own. */

/**
 * Does what the page sees in order, one after the other, and none of it while it is held. A message channel and not a
 * timer: timers are slowed down in tabs that nobody sees. Each turn is a microtask in the end, since Firefox runs tasks,
 * but no microtasks of the page's window, while a script of the page waits for an alert or a synchronous request.
 */
class TaskQueue {
  /** @param {() => void} onDone told when all of one moment has run */
  constructor(onDone) {
    this.onDone = onDone;
    /** @type {{run: () => void, kind: WorkKind}[]} */
    this.work = [];
    this.holds = 0;
    this.isHearing = false;
    this.isScheduled = false;
    /** @type {MessagePort | undefined} */
    this.turn = undefined;
  }

  /**
   * Runs it, which hears a message of the background. That comes in a task of its own: the first work needs no other.
   * @param {() => void} hear
   */
  hearing(hear) {
    this.isHearing = true;
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

  /** The document is shown again: Firefox has dropped the turn that it was left with. */
  resume() {
    this.isScheduled = false;
    if (this.work.length > 0) {
      this.schedule(false);
    }
  }

  /** @private @param {boolean} inThisTask behind the jobs of promises that wait already */
  schedule(inThisTask) {
    if (this.isScheduled) {
      return;
    }
    this.isScheduled = true;
    if (inThisTask) {
      this.runInThisTask();
    } else {
      this.openTurn();
    }
  }

  /**
   * Promises of ours are not kept waiting as microtasks of the window are: where such a promise's job comes first, a
   * script of the page stands in between, and the work gets a task behind it.
   * @private
   */
  runInThisTask() {
    let isLate = false;
    queueMicrotask(() => isLate ? this.openTurn() : this.runOne());
    Promise.resolve().then(() => isLate = true);
  }

  /** A task. @private */
  openTurn() {
    this.turn ??= this.makeTurns();
    this.turn.postMessage(0);
  }

  /** What is posted to it has its turn in a task of its own. @private */
  makeTurns() {
    const { port1, port2 } = new MessageChannel();
    port1.onmessage = () => this.runInThisTask();
    return port2;
  }

  /** @private */
  runOne() {
    this.isScheduled = false;
    if (this.holds > 0) {
      return;
    }
    const end = this.work.findIndex(({ kind }) => kind !== 'quiet') + 1;
    const pieces = this.work.splice(0, end || this.work.length);
    try {
      pieces.forEach(({ run }) => run());
      this.onDone();
    } finally {
      if (this.work.length > 0) {
        this.schedule(pieces.at(-1)?.kind === 'promise');
      }
    }
  }
}
