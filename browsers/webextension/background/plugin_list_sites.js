import { extension } from './extension.js';

/**
 * Where pages find the plugin in the browser's list of plugins: on the sites that the user has allowed. The
 * browser keeps these scripts, so that a page finds it before it has an element.
 * @param {string} origin
 * @param {string} leave
 */
export async function noteLeave(origin, leave) {
  const pattern = patternOf(origin);
  if (pattern === null) {
    return;
  }
  const ids = [`plugin-list ${pattern}`];
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
}

/** All ports of a host: not every browser can name one. @param {string} origin */
function patternOf(origin) {
  if (origin === 'file://') {
    return 'file:///*';
  }
  const found = /^(https?):\/\/([^/:[\]]+|\[[^\]]+\])(:\d+)?$/.exec(origin);
  return found && `${found[1]}://${found[2]}/*`;
}
