// A page's script in TypeScript that awaits: compile it with --strict, beside orvane-web.d.mts.

import { connect, OrvaneWebError, type Connection } from './orvane-web.mjs';

function byId<Kind extends HTMLElement>(id: string): Kind {
  return document.getElementById(id) as Kind;
}

function say(text: string): void {
  byId('said').textContent = text;
}

/** Shows what went wrong; anything but an error of the plugin is a mistake of this page. */
function explain(error: unknown): void {
  if (!(error instanceof OrvaneWebError)) {
    throw error;
  }
  if (error.code !== 'aborted') {
    say(error.status === undefined ? error.message : `${error.status}: ${error.message}`);
  }
}

async function fetchTo(orvane: Connection, source: string, signal: AbortSignal): Promise<void> {
  const path = await orvane.runSaveFileDialog({ suggestedName: 'report.pdf', types: { Documents: ['pdf', 'PDF'] } });
  if (path === null) {
    return;
  }
  for await (const { status, percentage, error } of await orvane.download(source, { to: path, signal })) {
    byId<HTMLProgressElement>('bar').value = percentage;
    say(status === 'failed' ? error : status);
  }
}

async function sendPictures(orvane: Connection, to: string): Promise<string[]> {
  const pictures = await orvane.runOpenFileDialog({ multiple: true, types: { Pictures: ['png', 'jpg'] } });
  const sent: string[] = [];
  for await (const { status, files } of await orvane.upload(pictures, { to })) {
    if (status === 'completed') {
      sent.push(...files.map(({ path }) => path));
    }
  }
  return sent;
}

async function main(): Promise<void> {
  const orvane = await connect({ dropMode: 'callback', dropAllowMultiple: true, width: 300, height: 80 });
  orvane.addEventListener('drop', ({ detail: paths }) => say(paths.join('\n')));
  orvane.addEventListener('close', ({ detail: reason }) => explain(reason), { once: true });
  const { app_id } = await orvane.initSession('my-app', 'example.org');
  const { product, version } = await orvane.request<OrvaneWeb.ApplicationVersion>('GET', '/v4/pellion/version');
  say(`${app_id} with ${product} ${version}, plugin ${orvane.version}`);

  const controller = new AbortController();
  byId('fetch').onclick = () => fetchTo(orvane, 'https://example.org/report.pdf', controller.signal).catch(explain);
  byId('stop').onclick = () => controller.abort();
  byId('send').onclick = async () => {
    const sent = await sendPictures(orvane, 'https://example.org/incoming/');
    say(`${sent.length} sent`);
  };
}

main().catch(explain);
