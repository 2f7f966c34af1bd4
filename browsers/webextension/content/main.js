'use strict';

/** One document's plugin elements, and the three that they connect: page, document and host. */
class DocumentPlugins {
  constructor() {
    /** @type {Map<Element, {number: number, link: HostLink, area: PluginArea, drops?: AreaDrops}>} */
    this.begun = new Map();
    this.lastNumber = 0;
    /** @type {HostLink | null} */
    this.link = null;
    this.mustForget = false;
    /** The node by which the page's end is spoken with. In no document, so that no document loses it. */
    this.channel = tree.create('div');
    /** @type {EventTarget | null} */
    this.concerned = null;
    this.queue = new TaskQueue();
    this.requests = new PageRequests(this.queue, (tell) => this.say('tell', tell));
    this.finder = new ElementFinder(
      (element) => this.begin(element), (element) => this.end(element), () => this.begun.keys());
    this.finder.onRead = () => this.begun.forEach(({ area }) => area.keep());
    this.finder.onRewritten = () => this.begun.size > 0 && this.watchPage();
    this.openChannel();
    PluginArea.removeStale();
    if (!tree.isLoading()) {
      this.finder.search();
    }
  }

  /** Hands the channel to the page's end, whichever of the two scripts came first. @private */
  openChannel() {
    const handOver = () =>
      tree.dispatch(new MouseEvent('orvane-web:channel', { relatedTarget: this.channel }));
    this.channel.addEventListener('element', (event) => {
      const element = /** @type {MouseEvent} */ (event).relatedTarget;
      // What can be prevented asks whether it is one of ours, and is answered by that.
      if (!event.cancelable) {
        this.concerned = element;
      } else if (this.use(element)) {
        event.preventDefault();
      }
    });
    this.channel.addEventListener('request', (event) => {
      this.say('reply', this.answer(/** @type {CustomEvent} */ (event).detail));
    });
    this.channel.addEventListener('taken', () => {
      tree.unlisten('orvane-web:page', handOver);
      this.say('names', memberNames);
    }, { once: true });
    tree.listen('orvane-web:page', handOver);
    handOver();
  }

  /** @private @param {string} kind @param {any} what */
  say(kind, what) {
    this.channel.dispatchEvent(new CustomEvent(kind, { detail: JSON.stringify(what) }));
  }

  /** @private @param {unknown} text @returns {[string, any]} */
  answer(text) {
    const element = this.concerned;
    this.concerned = null;
    try {
      return this.requests.answer(this.use(element), JSON.parse(String(text)));
    } catch (error) {
      return ['unsent', `Orvane Web: ${error}`];
    }
  }

  /** @private @param {any} element */
  use(element) {
    this.finder.catchUp();
    if (!this.begun.has(element) && elementFacts.isOurs(element)) {
      this.begin(element);
    }
    return this.begun.get(element);
  }

  /** @private @param {HTMLElement} element */
  begin(element) {
    if (this.begun.has(element)) {
      return;
    }
    const link = this.link ??= this.openLink();
    const params = elementFacts.parameters(element);
    const plugin = this.makePlugin(element, link, AreaDrops.areTaken(params));
    this.begun.set(element, plugin);
    this.finder.watchType(element);
    this.watchPage();
    link.send({
      op: 'make',
      element: plugin.number,
      params,
      ...elementFacts.size(element),
    }, (answer) => answer.error !== undefined && plugin.area.showBroken(answer.error));
    queueMicrotask(() => plugin.area.start());  // nothing is painted before, and a call may wait to be sent
  }

  /** @private @param {HTMLElement} element @param {HostLink} link @param {boolean} takesDrops */
  makePlugin(element, link, takesDrops) {
    const number = ++this.lastNumber;
    const area = new PluginArea(element);
    const drops = !takesDrops ? undefined : new AreaDrops(area, (operation, settle) => {
      link.send({ ...operation, element: number }, settle);
    });
    return { number, link, area, drops };
  }

  /** @private @param {Element} element */
  end(element) {
    const plugin = this.begun.get(element);
    if (plugin) {
      this.begun.delete(element);
      plugin.area.end();
      plugin.drops?.end();
      plugin.link.send({ op: 'end', element: plugin.number });
    }
  }

  /** @private */
  openLink() {
    /** @type {HostLink | undefined} none yet when it is lost as soon as it is made */
    let link = undefined;
    const lost = () => {
      for (const plugin of this.begun.values()) {
        if (plugin.link === link) {
          plugin.area.showBroken(plugin.link.complaint);
        }
      }
      if (this.link === link || this.link === null) {
        this.link = null;
        this.mustForget = true;
        this.queue.push(() => this.forget());
      }
    };
    this.forget();
    link = new HostLink(this.queue, (tell) => {
      this.queue.push(() => this.hear(tell), tell.tell === 'release' ? 'quiet' : 'task');
    }, lost);
    return link;
  }

  /**
   * The page forgets the objects that a lost host held: in its turn behind what that host has told, but
   * before another host is given any.
   * @private
   */
  forget() {
    if (this.mustForget) {
      this.mustForget = false;
      this.say('tell', ['forget']);
    }
  }

  /** What the host tells by itself. @private @param {any} tell */
  hear(tell) {
    if (tell.tell === 'say') {
      console.warn(`Orvane Web: ${tell.text}`);
    } else if (tell.tell === 'release') {
      this.say('tell', ['release', tell.object, tell.mentions ?? 1]);
    } else if (tell.tell === 'call' && this.find(tell.element)) {
      this.say('tell', tell.method === undefined
        ? ['call', tell.object, tell.args]
        : ['method', tell.object, tell.method, tell.args]);
    } else if (tell.tell === 'picture') {
      this.find(tell.element)?.area.showPicture(tell);
    } else if (tell.tell === 'window') {
      this.find(tell.element)?.drops?.showWindow(tell.open);
    }
  }

  /** @private @param {number} number */
  find(number) {
    return [...this.begun.values()].find((plugin) => plugin.number === number);
  }

  /**
   * A page with an element stays out of the back-forward cache, as with plugins of old: that is what the
   * listener for "unload" does. Where it is cached nevertheless, its elements end and begin anew.
   * @private
   */
  watchPage() {
    addEventListener('unload', DocumentPlugins.onUnload);
    addEventListener('pagehide', this.onHidden);
    addEventListener('pageshow', this.onShown);
  }

  static onUnload() {}

  /** For the page of the toolbar's button. */
  summary() {
    return {
      origin: location.protocol === 'file:' && !isSandboxedFile() ? 'file://' : self.origin,
      elements: this.begun.size,
      complaint: [...this.begun.values()].map(({ area }) => area.complaint).find(Boolean) ?? '',
    };
  }

  /** @private @param {PageTransitionEvent} event */
  onHidden = (event) => {
    if (event.persisted) {
      this.begun.forEach(({ area, drops }) => {
        area.end();
        drops?.end();
      });
      this.begun.clear();
      this.link?.end(sentences.hostGone);
    }
  };

  /** @private @param {PageTransitionEvent} event */
  onShown = (event) => {
    if (event.persisted) {
      this.finder.search();
    }
  };
}

const documentPlugins = new DocumentPlugins();
