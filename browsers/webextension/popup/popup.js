// The page of the toolbar's button: what is allowed, what is broken, and what is under way in the tab on show.
import { extension, mostOfTab } from '../background/extension.js';
import { noteLeave } from '../background/plugin_list_sites.js';
import { HostQuestion } from './host_question.js';
import { applicationRow, elementRow, hostMissingRow, hostRow, moduleRow, siteRow, text } from './rows.js';

/** @typedef {import('./rows.js').Row} Row */
/** @typedef {import('./rows.js').DocumentSummary} DocumentSummary */
/** @typedef {import('../background/document_transfers.js').Transfer} Transfer */

const rows = /** @type {HTMLElement} */ (document.getElementById('rows'));
const transfers = /** @type {HTMLElement} */ (document.getElementById('transfers'));
const marks = { ok: '✓', warning: '!', failed: '✗', none: '–', waiting: '…' };

/**
 * @template {keyof HTMLElementTagNameMap} Tag
 * @param {Tag} tag
 * @param {{[name: string]: any}} [members]
 * @param {...(Node | string)} children
 */
function make(tag, members = {}, ...children) {
  const node = Object.assign(document.createElement(tag), members);
  node.append(...children);
  return node;
}

/** The place of a row, which stays where it is. @param {string} name */
function placeOf(name) {
  const place = make('div');
  rows.append(place);
  show(place, name, { status: 'waiting', seen: text('asking') });
  return (/** @type {Row} */ row, /** @type {() => void} */ forget = () => {}) => show(place, name, row, forget);
}

/**
 * @param {HTMLElement} place
 * @param {string} name
 * @param {Row | {status: 'waiting', seen: string, remedy?: string, forget?: boolean}} row
 * @param {() => void} [forget]
 */
function show(place, name, row, forget) {
  place.className = row.status;
  const mark = make('dt', { className: 'mark', ariaLabel: text(`status_${row.status}`) }, marks[row.status]);
  mark.setAttribute('role', 'img');
  place.replaceChildren(mark, make('dt', { className: 'name' }, text(name)), make('dd', {}, row.seen));
  if (row.remedy) {
    place.append(make('dd', { className: 'remedy' }, row.remedy));
  }
  if (row.forget) {
    place.append(make('dd', {}, make('button', { type: 'button', onclick: forget }, text('forget'))));
  }
}

/** @param {Transfer[]} underWay */
function showTransfers(underWay) {
  transfers.hidden = underWay.length === 0;
  const list = /** @type {HTMLElement} */ (transfers.querySelector('ul'));
  list.replaceChildren(...underWay.map(({ direction, name, percentage, rate }) => {
    const rateText = new Intl.NumberFormat(undefined, { maximumFractionDigits: 1 }).format(rate / 1e6);
    const title = text(direction === 'send' ? 'upload' : 'download', name, percentage, rateText);
    const bar = make('progress', { max: 100, value: percentage, ariaLabel: title });
    return make('li', {}, title, bar);
  }));
}

/** The site's row, by a host program of its own. @param {string} origin @param {(row: Row, forget?: () => void) => void} place */
function askSite(origin, place) {
  const host = new HostQuestion(origin);
  const again = async () => {
    const state = await host.state(false);
    place(siteRow(state), forget);
    return state;
  };
  const forget = async () => {
    try {
      await host.forget();
      const now = await host.state(false);
      await noteLeave(now.origin, now.leave);
      await again();
    } catch (error) {
      place({ status: 'failed', seen: /** @type {Error} */ (error).message, forget: true }, forget);
    }
  };
  return { host, known: again() };
}

/** @param {string} origin of the tab itself @param {DocumentSummary[]} documents */
async function askHost(origin, documents) {
  const others = [...new Set(documents.map((each) => each.origin))].filter((each) => each !== origin);
  const sites = [origin, ...others].slice(0, mostOfTab).map((each) => askSite(each, placeOf('site')));
  const places = { host: placeOf('host'), module: placeOf('module'), application: placeOf('application') };
  sites.slice(1).forEach(({ known }) => known.catch(() => {}));
  try {
    places.host(hostRow(await sites[0].known));
    const state = await sites[0].host.state(true);
    places.host(hostRow(state));
    places.module(moduleRow(state));
    places.application(applicationRow(state));
  } catch (error) {
    rows.querySelectorAll('.waiting').forEach((row) => row.remove());
    placeOf('host')(hostMissingRow(/** @type {Error} */ (error).message));
  }
}

/** @param {string | undefined} address */
function originOf(address) {
  const url = URL.canParse(address ?? '') ? new URL(/** @type {string} */ (address)) : null;
  return url?.protocol === 'file:' ? 'file://' : url?.origin ?? 'null';
}

/**
 * Asks the content scripts of all frames: it is they who know the elements.
 * @param {number} tabId @returns {Promise<DocumentSummary[]>}
 */
async function documentsOf(tabId) {
  const func = () => /** @type {any} */ (typeof documentPlugins === 'undefined' ? null : documentPlugins.summary());
  try {
    const frames = await extension.scripting.executeScript({ target: { tabId, allFrames: true }, func });
    return frames.map(({ result }) => result).filter((result) => result?.elements > 0);
  } catch {
    return [];  // a page where no extension may run
  }
}

async function start() {
  for (const node of /** @type {NodeListOf<HTMLElement>} */ (document.querySelectorAll('[data-text]'))) {
    node.textContent = text(node.dataset.text ?? '');
  }
  const [tab] = await extension.tabs.query({ active: true, currentWindow: true });
  const tabId = /** @type {number} */ (tab.id);
  const background = extension.runtime.connect({ name: `popup ${tabId}` });
  background.onMessage.addListener(showTransfers);
  const element = placeOf('element');
  const documents = await documentsOf(tabId);
  element(elementRow(documents));
  await askHost(originOf(tab.url), documents);
}

start();
