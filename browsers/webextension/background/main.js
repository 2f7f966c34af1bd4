// Connects each document that has an element of ours with a host program of its own. It knows nothing
// that does not hang on a port: a browser may stop this script at any time when no port is open.
import { DocumentLink } from './document_link.js';
import { extension, isFirefox, listen, mostOfTab } from './extension.js';
import { HeldRequests } from './held_requests.js';
import { AnswerRules } from './answer_rules.js';
import { TabReports } from './tab_reports.js';
import { noteLeave } from './plugin_list_sites.js';

/** @type {Map<string, DocumentLink>} by the key that the content script has drawn */
const links = new Map();

const synchronousWay = isFirefox ? new HeldRequests(links) : new AnswerRules(links);

const reports = new TabReports(links);

extension.runtime.onConnect.addListener((port) => {
  if (TabReports.isReader(port)) {
    reports.serve(port);
    return;
  }
  const tabId = port.sender?.tab?.id;
  if (links.has(port.name) || tabId === undefined) {
    port.disconnect();
    return;
  }
  if ([...links.values()].filter((link) => link.tabId === tabId).length >= mostOfTab) {
    port.postMessage({ lost: `Orvane Web: more than ${mostOfTab} documents of this tab use the plugin.` });
    port.disconnect();
    return;
  }
  const link = new DocumentLink(port, synchronousWay, noteLeave, (tabId) => reports.changed(tabId));
  links.set(port.name, link);
  synchronousWay.begin(link);
  const remove = listen(port.onDisconnect, () => {
    remove();
    links.delete(port.name);
    link.close();
    reports.changed(link.tabId);
  });
});
