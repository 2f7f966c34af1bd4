import { extension } from './extension.js';

/** One change at a time: several documents of a site may be told of it at once. */
let changes = Promise.resolve();

/** @type {Map<string, string>} the leave that is noted, by pattern: every document with an element tells it */
const noted = new Map();

/**
 * Where pages find the plugin in the browser's list of plugins: on the sites that the user has allowed. The
 * browser keeps these scripts, so that a page finds it before it has an element.
 * @param {string} origin
 * @param {string} leave
 */
export function noteLeave(origin, leave) {
  changes = changes.then(() => change(origin, leave)).catch((error) => console.warn(error));
}

/** @param {string} origin @param {string} leave */
async function change(origin, leave) {
  const pattern = patternOf(origin);
  if (pattern === null || noted.get(pattern) === leave) {
    return;
  }
  // Of the origin, since another port's refusal takes nothing away from this one.
  const ids = [`plugin-list ${origin}`];
  const registered = (await extension.scripting.getRegisteredContentScripts({ ids })).length > 0;
  if (leave === 'allow' && !registered) {
    await extension.scripting.registerContentScripts([{
      id: ids[0],
      matches: [pattern],
      js: ['page/plugin_list.js'],
      world: 'MAIN',
      runAt: 'document_start',
      allFrames: true,
      persistAcrossSessions: true,
    }]);
  } else if (leave !== 'allow' && registered) {
    await extension.scripting.unregisterContentScripts({ ids });
  }
  noted.set(pattern, leave);
}

/** All ports of a host: not every browser can name one. @param {string} origin */
function patternOf(origin) {
  if (origin === 'file://') {
    return 'file:///*';
  }
  const found = /^(https?):\/\/([^/:[\]]+|\[[^\]]+\])(:\d+)?$/.exec(origin);
  return found && `${found[1]}://${found[2]}/*`;
}
