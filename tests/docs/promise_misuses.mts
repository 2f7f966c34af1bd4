// What the typings of the promise API refuse, line by line.

import { connect, OrvaneWebError, type Connection } from '../../web/orvane-web.mjs';

export async function misuse(orvane: Connection, error: OrvaneWebError): Promise<void> {
  // @ts-expect-error: an element or parameters, no selector
  await connect('#plugin');
  // @ts-expect-error: a mode that does not exist
  await connect({ dropMode: 'download' });
  // @ts-expect-error: names are those of scripts
  await connect({ 'drop-mode': 'upload' });
  // @ts-expect-error: no such option
  await connect({}, { timeout: 5 });
  // @ts-expect-error: a session needs a name
  await orvane.initSession();
  // @ts-expect-error: answers are not known unless they are named
  (await orvane.request('GET', '/v4/pellion/version')).product;
  // @ts-expect-error: an upload has a destination
  await orvane.upload('/home/me/notes.txt');
  // @ts-expect-error: a promise is no iterator
  for await (const transfer of orvane.download('https://example.org/a')) console.log(transfer);
  // @ts-expect-error: one transfer at a time
  for await (const { transfers } of orvane.transfers()) console.log(transfers);
  // @ts-expect-error: a filter has an extension
  await orvane.runOpenFileDialog({ types: { Pictures: [] } });
  // @ts-expect-error: null when cancelled
  (await orvane.runSaveFileDialog()).length;
  // @ts-expect-error: paths, not a text
  (await orvane.runOpenFolderDialog()).split(':');
  // @ts-expect-error: nothing comes back
  (await orvane.startDownload('https://example.org/a')).length;
  // @ts-expect-error: what is dropped are paths
  orvane.addEventListener('drop', ({ detail }) => detail.transfers);
  // @ts-expect-error: the connection has it for itself
  orvane.eventHandler = null;
  // @ts-expect-error: no such code
  if (error.code === 'gone') return;
  // @ts-expect-error: fixed
  error.message.code = error.code;
}
