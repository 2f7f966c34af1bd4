/** @type {typeof chrome} */
export const extension = /** @type {any} */ (globalThis).browser ?? chrome;

export const isFirefox = extension.runtime.getURL('').startsWith('moz-extension:');

export const hostName = 'example.orvane.web_host';

export const hostGone = 'Orvane Web: the program beside the browser has ended. Reload the page.';

/** Documents of one tab that may have a program each: frames cost a page nothing, processes cost the user. */
export const mostOfTab = 64;

/**
 * Firefox keeps a port that has ended, with all that its listeners hold, until these are taken away.
 * @template {Function} Listener
 * @param {{addListener(listener: Listener): void, removeListener(listener: Listener): void}} event
 * @param {Listener} listener
 * @returns {() => void} takes it away
 */
export function listen(event, listener) {
  event.addListener(listener);
  return () => event.removeListener(listener);
}

/**
 * The rule that says to a waiting page of Chromium that this script listens: only it is newer than the one kept.
 * @type {chrome.declarativeNetRequest.Rule}
 */
export const readyRule = {
  id: 1,
  priority: 2,
  condition: {
    urlFilter: '|https://orvane.invalid/.orvane-ready|',
    resourceTypes: [/** @type {any} */ ('xmlhttprequest')],
  },
  action: {
    type: /** @type {any} */ ('redirect'),
    redirect: { url: 'data:text/plain,answer?ready' },
  },
};

/** Characters of one piece of an answer: browsers bear addresses of one million. */
const pieceLength = 700_000;

/** @type {{[character: string]: string}} what JSON is full of, and what addresses carry as it is */
const partners = { '"': '!', '!': '"', '{': '(', '(': '{', '}': ')', ')': '}' };

/**
 * An answer as addresses carry it: pieces of the encoded text, each after the number of all. A text, which mostly
 * is JSON, goes with the partners of its characters, so that it does not become two or three times as long.
 * @param {any} answer a message of the host
 */
export function piecesOf({ value, ...rest }) {
  const easy = typeof value === 'string' ? { partners: value.replace(/[!"(){}]/g, (found) => partners[found]) }
    : value === undefined ? {} : { value };
  const encoded = encodeURI(JSON.stringify({ ...rest, ...easy })).replace(/['#]/g, (found) =>
    (found === '#' ? '%23' : '%27'));
  const count = Math.max(1, Math.ceil(encoded.length / pieceLength));
  return Array.from({ length: count }, (_, i) =>
    `${count}/${encoded.slice(i * pieceLength, (i + 1) * pieceLength)}`);
}
