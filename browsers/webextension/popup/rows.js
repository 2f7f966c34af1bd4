import { extension, isFirefox } from '../background/extension.js';

/** @typedef {{origin: string, elements: number, complaint: string}} DocumentSummary */
/** @typedef {import('./host_question.js').HostState} HostState */
/** @typedef {import('./host_question.js').Finding} Finding */
/** @typedef {{status: 'ok' | 'warning' | 'failed' | 'none', seen: string, remedy?: string, forget?: boolean}} Row */

/** @type {(name: string, ...parts: (string | number)[]) => string} */
export const text = (name, ...parts) => extension.i18n.getMessage(name, parts.map(String));

/** @param {DocumentSummary[]} documents @returns {Row} */
export function elementRow(documents) {
  const count = documents.reduce((sum, { elements }) => sum + elements, 0);
  const complaint = documents.find((each) => each.complaint)?.complaint;
  if (complaint) {
    return { status: 'failed', seen: complaint };
  }
  return count === 0 ? { status: 'none', seen: text('elementNone') }
    : { status: 'ok', seen: count === 1 ? text('elementOne') : text('elementMany', count) };
}

/** @param {HostState} state @returns {Row} */
export function siteRow({ origin, leave, by, file = '' }) {
  const byUser = by !== 'administrator';
  switch (leave) {
    case 'allow':
      return { status: 'ok', seen: byUser ? text('siteAllowed', origin) : text('siteAllowedByFile', origin, file),
        forget: byUser };
    case 'deny':
      return byUser
        ? { status: 'failed', seen: text('siteDenied', origin), remedy: text('siteDeniedRemedy'), forget: true }
        : { status: 'failed', seen: text('siteDeniedByFile', origin, file), remedy: text('siteDeniedByFileRemedy') };
    case 'ask':
      return { status: 'none', seen: text('siteUnknown', origin) };
    default:
      return { status: 'failed', seen: text('siteNever') };
  }
}

/**
 * That it runs is more than the check can know of the way to it; what else the check says of it, in this
 * browser, is a warning.
 * @param {HostState} state @returns {Row}
 */
export function hostRow({ version, check }) {
  const seen = text('hostRuns', version);
  const row = worst((check?.checks ?? []).filter(({ name, seen: what }) =>
    hostChecks.includes(name) && what !== 'not checked'));
  return row && row.status !== 'ok' ? { status: 'warning', seen: `${seen} ${row.seen}`, remedy: row.remedy }
    : { status: 'ok', seen };
}

/** @param {string} reason @returns {Row} */
export const hostMissingRow = (reason) =>
  ({ status: 'failed', seen: text('hostMissing', reason), remedy: text('hostMissingRemedy') });

/** @param {HostState} state @returns {Row} */
export function moduleRow({ module, check }) {
  if (module.error !== undefined) {
    return { status: 'failed', seen: module.error, remedy: text('moduleMissingRemedy') };
  }
  const found = { status: /** @type {const} */ ('ok'), seen: text('moduleFound', module.path ?? '') };
  // The check finds the module by itself; what it says holds when that is the host's.
  const checks = check?.checks ?? [];
  const same = checks.find(({ name }) => name === 'module')?.seen.includes(module.path ?? '\0');
  const broken = same && worst(checks.filter(({ name }) => moduleChecks.includes(name)));
  return broken && broken.status !== 'ok' ? broken : found;
}

/** @param {HostState} state @returns {Row} */
export function applicationRow({ check }) {
  if (!check?.checks) {
    return { status: 'warning', seen: text('applicationUnknown', check?.error ?? ''), remedy: text('applicationUnknownRemedy') };
  }
  const row = worst(check.checks.filter(({ name }) => !moduleChecks.includes(name) && !browserCheck.test(name)));
  return row && row.status !== 'ok' ? row
    : { status: 'ok', seen: check.checks.find(({ name }) => name === 'version')?.seen ?? '' };
}

const moduleChecks = ['module', 'dependencies', 'loads', 'mime-type'];
const browserCheck = /^(firefox|chromium)(-|$)/;
const hostChecks = ['host', 'host-module', 'sites'].map((name) => `${isFirefox ? 'firefox' : 'chromium'}-${name}`);

/** The first of the worst: the others follow from it. @param {Finding[]} findings */
function worst(findings) {
  return findings.find(({ status }) => status === 'failed') ?? findings.find(({ status }) => status === 'warning') ??
    findings[0];
}
