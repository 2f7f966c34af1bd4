'use strict';

/**
 * What the user sees of a plugin's element: a box of the extension's, which lies over the element's, in a
 * closed shadow root of an element at the document's end. It shows the words or the picture that the
 * module's own area shows.
 */
class PluginArea {
  static hostName = 'orvane-web-area';

  /** What an earlier run of these scripts has left in the document: Firefox ends them without a word. */
  static removeStale() {
    tree.findAll(document, PluginArea.hostName).forEach((host) => host.remove());
  }

  /** @param {HTMLElement} element */
  constructor(element) {
    this.element = element;
    // Made outside: a page may have a class for elements of this name, which would be given the shadow root.
    PluginArea.outside ??= tree.outside();
    this.host = PluginArea.outside.createElement(PluginArea.hostName);
    this.box = PluginArea.outside.createElement('div');
    this.content = PluginArea.outside.createElement('div');
    this.label = textFor('areaLabel');
    /** @type {HTMLCanvasElement | null} */
    this.picture = null;
    this.keeps = 0;
    /** Why nothing works; empty while it does. */
    this.complaint = '';
    /** @type {AreaBox | null} */
    this.place = null;
    this.hasEnded = false;
    this.makeNodes();
  }

  /** @type {Document | null} */
  static outside = null;

  /** Comes into the document. Code of the page's may run in that, and end the element. */
  start() {
    this.keep();
    if (!this.hasEnded) {
      this.place = new AreaBox(this.element, (shown) => this.show(shown), (visible) => this.cut(visible));
      this.place.measure();
    }
  }

  /** @private */
  makeNodes() {
    // Without a style sheet, and important: no style and no policy of the page reaches it.
    PluginArea.style(this.host, {
      all: 'initial', display: 'block', position: 'absolute', left: '0', top: '0', width: '0', height: '0',
      'z-index': '2147483647',
    });
    PluginArea.style(this.box, {
      all: 'initial', display: 'none', position: 'absolute', overflow: 'hidden', 'box-sizing': 'border-box',
      'background-color': 'white', 'color-scheme': 'light',
    });
    PluginArea.style(this.content, {
      all: 'initial', display: 'flex', position: 'absolute', inset: '0', 'align-items': 'center',
      'justify-content': 'center', 'text-align': 'center', 'pointer-events': 'none', color: 'black',
      font: '14px sans-serif', 'user-select': 'none', 'outline-offset': '-1px',
    });
    this.host.attachShadow({ mode: 'closed' }).append(this.box);
    this.box.append(this.content);
    this.sayLabel();
  }

  /** @private @param {HTMLElement} node @param {{[property: string]: string}} values */
  static style(node, values) {
    for (const [property, value] of Object.entries(values)) {
      node.style.setProperty(property, value, 'important');
    }
  }

  end() {
    this.hasEnded = true;
    this.place?.end();
    this.host.remove();
  }

  /** Puts the area back where a script has thrown it out of the document; not for ever. */
  keep() {
    if (this.hasEnded) {
      return;
    }
    const container = this.container();
    if (this.host.parentNode !== container && ++this.keeps < 100) {
      tree.append(container, this.host);
    }
    this.rise();
  }

  /** Above an element that fills the screen by itself nothing is seen but a popover. @private */
  rise() {
    const fills = this.element.matches(':fullscreen');
    if (fills === this.host.matches(':popover-open')) {
      return;
    }
    if (fills) {
      this.host.popover = 'manual';
      this.host.showPopover();
    } else {
      this.host.popover = null;
    }
  }

  /** What the browser shows above everything else is seen there only. @private @returns {Element} */
  container() {
    for (let above = tree.parentElement(this.element); above; above = tree.parentElement(above)) {
      if (tree.matches(above, ':modal, :fullscreen, :popover-open')) {
        return above;
      }
    }
    return tree.root();
  }

  /** @private @param {ShownBox | null} shown */
  show(shown) {
    this.keep();
    if (!shown) {
      this.box.style.setProperty('display', 'none', 'important');
      this.highlight(false);  // what was over it does not tell that it leaves
      return;
    }
    const origin = this.host.getBoundingClientRect();
    const zoom = /** @type {any} */ (this.host).currentCSSZoom ?? 1;
    this.rect = shown.rect;
    PluginArea.style(this.box, {
      display: 'block',
      left: `${(shown.rect.left - origin.left) / zoom}px`,
      top: `${(shown.rect.top - origin.top) / zoom}px`,
      width: `${shown.rect.width / zoom}px`,
      height: `${shown.rect.height / zoom}px`,
      opacity: String(shown.opacity),
    });
  }

  /** @private @param {Rectangle} visible */
  cut(visible) {
    if (!this.rect) {
      return;
    }
    const { left, top, width, height } = this.rect;
    const inside = [
      visible.top - top,
      left + width - visible.left - visible.width,
      top + height - visible.top - visible.height,
      visible.left - left,
    ].map((inset) => Math.max(0, inset));
    const whole = inside.every((inset) => inset < 1);
    this.box.style.setProperty('clip-path',
      whole ? 'none' : `inset(${inside.map((inset) => `${inset}px`).join(' ')})`, 'important');
  }

  /**
   * The words for those who see them, and for those who hear them read.
   * @param {string} text @param {string} [more] the whole of it
   */
  say(text, more = text) {
    this.isLabelled = false;
    this.content.replaceChildren(text);
    this.box.setAttribute('role', 'img');
    this.box.removeAttribute('tabindex');
    this.box.style.setProperty('cursor', 'default', 'important');
    this.box.setAttribute('aria-label', more);
    this.box.title = more === this.label ? '' : more;
  }

  /** Words to click on. @param {string} text */
  sayButton(text) {
    this.say(text);
    this.box.setAttribute('role', 'button');
    this.box.tabIndex = 0;
    this.box.style.setProperty('cursor', 'pointer', 'important');
  }

  /** The label, or the picture in its place. */
  sayLabel() {
    this.say(this.label);
    this.isLabelled = true;
    if (this.picture) {
      this.content.replaceChildren(this.picture);
    }
  }

  /**
   * Draws the picture from its bytes: no address is asked, so that no policy of the page forbids it. It may come
   * from anywhere, and pages find ways into closed shadow roots: so a picture of the extension is drawn first,
   * after which browsers let no page read the canvas.
   * @param {{type: string, data: string, width: number, height: number}} told
   */
  async showPicture({ type, data, width, height }) {
    const bytes = Uint8Array.from(atob(data), (character) => character.charCodeAt(0));
    // As the module's area has it: its colours as they stand in the file, and not turned.
    const bitmap = await createImageBitmap(new Blob([bytes], { type }),
      { colorSpaceConversion: 'none', imageOrientation: 'none' });
    const ours = new Image();
    ours.src = extension.runtime.getURL('icons/16.png');
    await ours.decode();
    const canvas = tree.create('canvas');
    canvas.width = width;
    canvas.height = height;
    PluginArea.style(canvas, { all: 'initial', display: 'block', flex: 'none' });
    const context = /** @type {CanvasRenderingContext2D} */ (canvas.getContext('2d'));
    context.drawImage(ours, 0, 0);
    context.clearRect(0, 0, width, height);
    context.drawImage(bitmap, 0, 0);
    bitmap.close();
    this.picture = canvas;
    if (this.isLabelled) {
      this.sayLabel();
    }
  }

  /** The frame that the module's area has while it would take what is over it. @param {boolean} is */
  highlight(is) {
    this.content.style.setProperty('outline', is ? '1px solid black' : 'none', 'important');
  }

  /** Nothing works here, and why. @param {string} complaint */
  showBroken(complaint) {
    this.complaint = complaint;
    this.say(textFor('areaBroken'), complaint);
  }
}
