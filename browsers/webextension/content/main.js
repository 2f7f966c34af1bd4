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
    /** How often the page has been made to forget. */
    this.forgotten = 0;
    /** The text by which the page's end is spoken with. In no document, so that no document loses it. */
    this.channel = new Text(JSON.stringify(memberNames));
    /** @type {any[][]} what the page is told of with the next that it sees */
    this.untold = [];
    this.queue = new TaskQueue(() => this.tellRest());
    this.requests = new PageRequests(this.queue, (tell) => this.tell(tell));
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
    const handOver = () => {
      tree.dispatch(new MouseEvent('orvane-web:channel', { relatedTarget: this.channel }));
      if (this.channel.data === '') {  // the page's end has taken what it said
        tree.unlisten('orvane-web:page', handOver);
      }
    };
    this.channel.addEventListener('question', (event) => {
      if (this.use(/** @type {MouseEvent} */ (event).relatedTarget)) {
        event.preventDefault();
      }
    });
    this.channel.addEventListener('request', (event) => {
      const answer = this.answer(/** @type {MouseEvent} */ (event).relatedTarget, this.channel.data);
      this.channel.data = JSON.stringify(answer);
    });
    tree.listen('orvane-web:page', handOver);
    handOver();
  }

  /** @private @param {any[][]} told what the page sees in this moment, in order; only the last may run its code */
  tell(...told) {
    this.channel.data = JSON.stringify([...this.untold.splice(0), ...told]);
    this.channel.dispatchEvent(new Event('tell'));
  }

  /** @private */
  tellRest() {
    if (this.untold.length > 0) {
      this.tell();
    }
  }

  /** @private @param {EventTarget | null} element @param {string} request @returns {[string, any]} */
  answer(element, request) {
    const { forgotten } = this;
    try {
      const plugin = this.use(element);
      return forgotten === this.forgotten ? this.requests.answer(plugin, request) : ['again', null];
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
      ++this.forgotten;
      this.tell(['forget']);
    }
  }

  /** What the host tells by itself. @private @param {any} tell */
  hear(tell) {
    if (tell.tell === 'say') {
      console.warn(`Orvane Web: ${tell.text}`);
    } else if (tell.tell === 'release') {
      this.untold.push(['release', tell.object, tell.mentions ?? 1]);
    } else if (tell.tell === 'call' && this.find(tell.element)) {
      this.tell(tell.method === undefined
        ? ['call', tell.object, tell.args]
        : ['method', tell.object, tell.method, tell.args]);
    } else if (tell.tell === 'picture') {
      this.find(tell.element)?.area.showPicture(tell);
    } else if (tell.tell === 'window') {
      this.find(tell.element)?.drops?.showWindow(tell.open);
    }
  }

  /** None when the page has just taken it away. @private @param {number} number */
  find(number) {
    this.finder.catchUp();
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
      this.queue.resume();
      this.finder.search();
    }
  };
}

const documentPlugins = new DocumentPlugins();
