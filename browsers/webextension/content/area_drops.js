'use strict';

/**
 * Drags of files over an area, and the drop window where they lead to nothing. The page hears none of
 * these events, and cannot make one: only what the browser vouches for counts. No path passes here; the
 * host asks the drag's source for them while the drag is over the area.
 */
class AreaDrops {
  /**
   * @param {PluginArea} area
   * @param {(operation: {op: string, names?: string[]}, settle?: (answer: Answer) => void) => void} send
   */
  constructor(area, send) {
    this.area = area;
    this.send = send;
    this.lastDrag = 0;
    this.over = false;
    /** Whether the drag that is over the area can become a drop, as far as is known. */
    this.possible = true;
    this.offers = false;
    this.ended = new AbortController();
    this.listen('dragenter', (event) => this.enter(event));
    this.listen('dragover', (event) => this.stay(event));
    this.listen('dragleave', () => this.leave());
    this.listen('drop', (event) => this.drop(event));
    this.hear('click', () => this.open());
    this.hear('keydown', (event) => {
      const { key } = /** @type {KeyboardEvent} */ (event);
      if (key === 'Enter' || key === ' ') {
        event.preventDefault();
        this.open();
      }
    });
  }

  /**
   * What the browser vouches for. When the element itself fills the screen, Chromium lets the pointer touch
   * nothing outside of it.
   * @private @param {string} type @param {(event: Event) => void} react
   */
  hear(type, react) {
    const { box, element } = this.area;
    box.addEventListener(type, (event) => event.isTrusted && react(event));
    element.addEventListener(type, (event) => event.isTrusted && element.matches(':fullscreen') && react(event),
      { signal: this.ended.signal });
  }

  /** Whether an element with these parameters takes drops. @param {[string, string][]} params */
  static areTaken(params) {
    const mode = params.findLast(([name]) => name === 'drop-mode')?.[1];  // as the module reads them
    return mode === 'upload' || mode === 'callback';
  }

  /** The drop window has been opened or closed. @param {boolean} open */
  showWindow(open) {
    if (open) {
      this.offer(textFor('areaWindowOpen'));
    } else if (this.offers) {
      this.offer(textFor('areaOffer'));
    }
  }

  /**
   * @private
   * @param {'dragenter' | 'dragover' | 'dragleave' | 'drop'} type
   * @param {(event: DragEvent) => void} react
   */
  listen(type, react) {
    this.hear(type, (event) => {
      const drag = /** @type {DragEvent} */ (event);
      drag.stopPropagation();
      if (drag.dataTransfer?.types.includes('Files')) {
        drag.preventDefault();
        react(drag);
      }
    });
  }

  end() {
    this.ended.abort();
  }

  /**
   * Whatever was over the area before: nobody tells that it left an area that was hidden under it.
   * @private @param {DragEvent} event
   */
  enter(event) {
    this.over = true;
    this.possible = true;
    const drag = ++this.lastDrag;
    this.send({ op: 'drag' }, (answer) => drag === this.lastDrag && this.learn(answer.error));
    this.stay(event);
  }

  /** @private @param {DragEvent} event */
  stay(event) {
    /** @type {DataTransfer} */ (event.dataTransfer).dropEffect = this.possible ? 'copy' : 'none';
    this.area.highlight(this.possible);
  }

  /** @private */
  leave() {
    this.area.highlight(false);
    if (this.over) {
      this.over = false;
      this.send({ op: 'dragEnd' });
    }
  }

  /** @private @param {DragEvent} event */
  drop(event) {
    const files = [.../** @type {DataTransfer} */ (event.dataTransfer).files];
    this.area.highlight(false);
    if (this.over) {
      this.over = false;
      const drag = this.lastDrag;
      this.send({ op: 'drop', names: files.map(({ name }) => name.toWellFormed()) },
        (answer) => drag === this.lastDrag && answer.error !== undefined && this.learn(answer.error));
    }
  }

  /** @private @param {string | undefined} error why the drag leads to nothing */
  learn(error) {
    this.possible = error === undefined;
    if (error !== undefined) {
      console.warn(error);
      this.offer(textFor('areaOffer'));
    } else if (this.offers) {
      this.offers = false;
      this.area.sayLabel();
    }
  }

  /** Not where nothing works: a window would not either. @private @param {string} text */
  offer(text) {
    if (!this.area.complaint) {
      this.offers = true;
      this.area.sayButton(text);
    }
  }

  /** @private */
  open() {
    if (this.offers && !this.area.complaint) {
      this.send({ op: 'window' }, (answer) => answer.error !== undefined && this.failToOpen(answer.error));
    }
  }

  /** @private @param {string} error */
  failToOpen(error) {
    console.warn(error);
    if (!this.area.complaint) {
      this.offers = false;
      this.area.say(textFor('areaNoWindow'), error);
    }
  }
}
