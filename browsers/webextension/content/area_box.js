'use strict';

/**
 * @typedef {{left: number, top: number, width: number, height: number}} Rectangle
 * @typedef {{rect: Rectangle, opacity: number}} ShownBox
 */

/**
 * Follows the box of an element: its size, its place in the window, what scrolling elements leave of it,
 * and whether it is seen at all. Nothing is asked while nothing changes: an observer of intersections, whose
 * frame is the box itself, sees every move that no event tells.
 */
class AreaBox {
  /**
   * @param {HTMLElement} element
   * @param {(box: ShownBox | null) => void} place with where it is; null while it is not seen
   * @param {(visible: Rectangle) => void} cut with the part of it that scrolling elements leave
   */
  constructor(element, place, cut) {
    this.element = element;
    this.place = place;
    this.cut = cut;
    this.frame = 0;
    this.hasEnded = false;
    this.sizes = new ResizeObserver(() => this.measure());
    this.sizes.observe(element);
    this.styles = new MutationObserver(this.soon);
    /** @type {IntersectionObserver | null} */
    this.moves = null;
    for (const name of AreaBox.signs) {
      addEventListener(name, this.soon, { capture: true, passive: true });
    }
    this.watchStyles();
  }

  /** What may move or change a box without changing its size. */
  static signs = ['scroll', 'resize', 'fullscreenchange', 'toggle', 'transitionend', 'animationend'];

  end() {
    this.hasEnded = true;
    this.sizes.disconnect();
    this.styles.disconnect();
    this.moves?.disconnect();
    cancelAnimationFrame(this.frame);
    for (const name of AreaBox.signs) {
      removeEventListener(name, this.soon, { capture: true });
    }
  }

  /** @private */
  soon = () => {
    this.frame ||= requestAnimationFrame(() => {
      this.frame = 0;
      this.measure();
    });
  };

  /** @private */
  watchStyles() {
    this.styles.disconnect();
    for (let above = /** @type {Element | null} */ (this.element); above; above = tree.parentElement(above)) {
      this.styles.observe(above, { attributes: true, attributeFilter: ['class', 'style', 'hidden', 'open'] });
    }
  }

  measure() {
    const box = this.shownBox();
    this.place(box);
    this.moves?.disconnect();
    if (box && !this.hasEnded) {
      this.watchMoves(this.element.getBoundingClientRect(), 1);
    }
  }

  /** @private @returns {ShownBox | null} */
  shownBox() {
    const { element } = this;
    const outer = element.getBoundingClientRect();
    const style = getComputedStyle(element);
    if (outer.width <= 1 || outer.height <= 1 || style.visibility !== 'visible') {
      return null;
    }
    const scale = { x: outer.width / element.offsetWidth, y: outer.height / element.offsetHeight };
    /** @type {(side: string) => number} */
    const inset = (side) => parseFloat(style.getPropertyValue(`border-${side}-width`)) +
      parseFloat(style.getPropertyValue(`padding-${side}`));
    return {
      rect: {
        left: outer.left + inset('left') * scale.x,
        top: outer.top + inset('top') * scale.y,
        width: outer.width - (inset('left') + inset('right')) * scale.x,
        height: outer.height - (inset('top') + inset('bottom')) * scale.y,
      },
      opacity: this.opacityAbove(),
    };
  }

  /** @private */
  opacityAbove() {
    let opacity = 1;
    for (let above = tree.parentElement(this.element); above; above = tree.parentElement(above)) {
      opacity *= Number(getComputedStyle(above).opacity);
    }
    return opacity;
  }

  /**
   * Asks to hear when another part of the box than now lies in the frame where the box is now.
   * @private @param {DOMRect} frame @param {number} ratio what is believed to lie in it
   */
  watchMoves(frame, ratio) {
    const viewport = tree.viewport();
    const margins = [frame.top, viewport.clientWidth - frame.right, viewport.clientHeight - frame.bottom, frame.left];
    const nearly = 1e-4;
    let first = true;
    this.moves?.disconnect();
    this.moves = new IntersectionObserver((entries) => {
      const entry = entries[entries.length - 1];
      if (!first) {
        this.measure();
        return;
      }
      first = false;
      this.cut(entry.intersectionRect);
      if (Math.abs(entry.intersectionRatio - ratio) > nearly) {
        this.watchMoves(frame, entry.intersectionRatio);
      }
    }, {
      root: document,
      rootMargin: margins.map((margin) => `${-Math.floor(margin)}px`).join(' '),
      threshold: [Math.max(nearly, ratio - nearly), Math.min(1, ratio + nearly)],
    });
    this.moves.observe(this.element);
  }
}
