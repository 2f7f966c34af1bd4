import { extension, hostGone, piecesOf, readyRule } from './extension.js';

/** @typedef {import('./document_link.js').DocumentLink} DocumentLink */

/** Chromium's synchronous way: a page that stands still repeats a request, which rules that stay lead through a
 * few addresses below its own, and then to "pending"; an answer is a rule for all of these in that one tab,
 * catches the request wherever it is on this way, and goes when it was read.
 * Both lead to data: addresses, which are quicker than files of the extension; Firefox lets pages forbid those.
 * Rules are changed in one piece at a time, so what has gathered meanwhile goes together. */
export class AnswerRules {
  /** @param {Map<string, DocumentLink>} links */
  constructor(links) {
    this.links = links;
    this.lastId = readyRule.id;
    /** @type {Map<string, number[]>} rules in force, by key and number */
    this.byCall = new Map();
    /** @type {chrome.declarativeNetRequest.Rule[]} */
    this.toAdd = [];
    /** @type {number[]} */
    this.toRemove = [];
    this.changes = this.prepareRules();
    this.changing = false;
    /** @type {ReturnType<typeof setTimeout> | undefined} */
    this.sweep = undefined;
    extension.runtime.onMessage.addListener((message, sender) => this.hearWaiting(message, sender));
  }

  /** @type {import('./document_link.js').SynchronousWay['answer']} */
  answer(link, n, answer) {
    this.addRules(`${link.key}-${n}`, link.port.sender, answer);
  }

  begin() {}

  /** @type {import('./document_link.js').SynchronousWay['taken']} */
  taken(link, n) {
    this.remove(`${link.key}-${n}`);
  }

  /** @param {DocumentLink} link */
  drop(link) {
    for (const call of [...this.byCall.keys()].filter((key) => key.startsWith(`${link.key}-`))) {
      this.remove(call);
    }
  }

  /** @private @param {string} call @param {chrome.runtime.MessageSender | undefined} sender @param {object} answer */
  addRules(call, sender, answer) {
    const pieces = piecesOf(answer);
    this.byCall.set(call, pieces.map((piece, part) => {
      const rest = part === 0 ? '/' : `?part=${part}|`;
      this.toAdd.push({
        id: ++this.lastId,
        priority: 3,
        condition: {
          urlFilter: `|https://orvane.invalid/.orvane-call/${call}${rest}`,
          ...tabsOf(sender),
          resourceTypes: [/** @type {any} */ ('xmlhttprequest')],
        },
        action: {
          type: /** @type {any} */ ('redirect'),
          redirect: { url: `data:text/plain,answer?${piece}` },
        },
      });
      return this.lastId;
    }));
    this.change();
  }

  /** @private @param {string} call */
  remove(call) {
    this.toRemove.push(...(this.byCall.get(call) ?? []));
    this.byCall.delete(call);
    // Mostly the next call follows, and its answer's change takes this with it.
    clearTimeout(this.sweep);
    this.sweep = setTimeout(() => this.change(), 50);
  }

  /** @private */
  async change() {
    if (this.changing) {
      return;
    }
    this.changing = true;
    try {
      await this.changes;
      while (this.toAdd.length > 0 || this.toRemove.length > 0) {
        const removed = new Set(this.toRemove.splice(0));
        const addRules = this.toAdd.splice(0).filter((rule) => !removed.has(rule.id));
        await this.update(addRules, [...removed]);
      }
    } finally {
      this.changing = false;  // other documents' answers go on
    }
  }

  /**
   * The browser takes all rules or none: when it refuses them, each goes alone, and an error in place of what it
   * still does not take.
   * @private
   * @param {chrome.declarativeNetRequest.Rule[]} addRules
   * @param {number[]} removeRuleIds
   */
  async update(addRules, removeRuleIds) {
    const update = (/** @type {chrome.declarativeNetRequest.UpdateRuleOptions} */ changes) =>
      extension.declarativeNetRequest.updateSessionRules(changes).then(() => true, () => false);
    if (await update({ addRules, removeRuleIds })) {
      return;
    }
    await update({ removeRuleIds });
    const [piece] = piecesOf({ answer: 0, error: 'Orvane Web: the browser does not take the answer.' });
    const redirect = { url: `data:text/plain,answer?${piece}` };
    for (const rule of addRules) {
      await update({ addRules: [rule] }) ||
        await update({ addRules: [{ ...rule, action: { ...rule.action, redirect } }] });
    }
  }

  /**
   * Takes away what an earlier run of this script left behind. The rules that say "pending" are kept over
   * restarts of the browser: Chromium takes those of a manifest only from a directory that it can write.
   * @private
   */
  async prepareRules() {
    const pending = await (await fetch(extension.runtime.getURL('pending_rules.json'))).json();
    const kept = await extension.declarativeNetRequest.getDynamicRules();
    await extension.declarativeNetRequest.updateDynamicRules({
      removeRuleIds: kept.map((rule) => rule.id),
      addRules: pending,
    });
    const rules = await extension.declarativeNetRequest.getSessionRules();
    await extension.declarativeNetRequest.updateSessionRules({
      removeRuleIds: rules.map((rule) => rule.id),
      addRules: [readyRule],
    });
  }

  /**
   * A page still waits for an answer that this script may know nothing of, because it was ended meanwhile.
   * @private
   * @param {any} message
   * @param {chrome.runtime.MessageSender} sender
   */
  hearWaiting(message, sender) {
    if (sender.tab?.id !== undefined && message?.waiting && !this.links.has(message.waiting)) {
      const call = `${message.waiting}-${message.n}`;
      this.addRules(call, sender, { answer: message.n, error: hostGone });
      // A page that has not read it by then will say again that it waits; this script may soon be ended.
      setTimeout(() => this.remove(call), 5000);
    }
  }
}

/**
 * The tab that a document's requests come from, as a rule's condition. Requests of an empty page that another
 * page has opened come from that other's tab, for the browser: then it is the key alone that finds the answer.
 * @param {chrome.runtime.MessageSender | undefined} sender
 */
function tabsOf(sender) {
  const tab = sender?.tab;
  const opened = sender?.url?.startsWith('about:') && !tab?.url?.startsWith('http');
  return tab?.id === undefined || opened ? {} : { tabIds: [tab.id] };
}
