// First steps: a session, requests passed through to Orvane Pellion, a download and an upload.
//
//   orvane-page-host --fail-fast
//                    --arg source=http://127.0.0.1:8000/picture.jpg --arg original=/srv/picture.jpg
//                    --arg downloads=/home/me/Downloads --arg upload=/home/me/notes.txt
//                    --arg target=/home/me/received/ examples/first-steps.js
//
// In a browser, `plugin` would be document.getElementById('plugin') and `quit` would not be needed.

const { source, original, downloads, upload, target } = page.args;
for (const name of ['source', 'original', 'downloads', 'upload', 'target']) {
  if (!page.args[name]) {
    throw new Error(`--arg ${name}=... is missing`);
  }
}
let step = 0;

function say(text) {
  console.log(`${++step}. ${text}`);
}

function check(condition, text) {
  if (!condition) {
    throw new Error(text);
  }
}

// What the plugin answers is always a text; a failure is an error document.
function request(method, path, body) {
  return JSON.parse(plugin.pellionHttpRequest(method, path, body ? JSON.stringify(body) : ''));
}

function openSession() {
  const session = JSON.parse(plugin.initSession('first-steps', 'example.org'));
  check(!session.error, `no session: ${session.error && session.error.user_message}`);
  say(`Session opened for "${session.app_id}". Orvane Pellion runs; the plugin launches it where it does not.`);
}

function showVersions() {
  const application = JSON.parse(plugin.queryPellionVersion());
  say(`Plugin ${plugin.queryVersion()} (build ${plugin.queryBuildVersion()}), browser engine ` +
      `${plugin.queryBrowserEngine()}, application ${application.version}.`);
}

function passRequestsThrough() {
  const good = request('GET', '/v4/pellion/version');
  check(good.version, 'the version request was not answered');
  const unknown = request('GET', '/v4/no/such/thing');
  check(unknown.error, 'an unknown path was not refused');
  // Error documents carry their message unescaped; a parser's message has line breaks in it, so this
  // one is looked at as a text.
  const malformed = plugin.pellionHttpRequest('POST', '/v4/transfers/activity', '{"a":');
  check(malformed.startsWith('{"error":{"code":-1,"user_message":"Error parsing JSON: '),
        'a malformed body was not refused');
  say(`Passed a good request through; an unknown path was answered with "${unknown.error.user_message}", ` +
      'and a malformed body was stopped in the plugin.');
}

function startTransfers() {
  plugin.startDownload(source);
  plugin.startUploadToURL(upload, `file://${target}`);
  say(`Started a download of ${source} and an upload of ${upload}.`);
}

function transfersSoFar() {
  return request('POST', '/v4/transfers/activity', { iteration_token: '' }).transfers;
}

// The page's own transfers by direction, once both have ended.
function transfersEnded(earlier) {
  return new Promise((resolve, reject) => {
    const poll = () => {
      const transfers = transfersSoFar().filter((transfer) => !earlier.includes(transfer.id));
      const failed = transfers.find((transfer) => transfer.status === 'failed');
      if (failed) {
        reject(new Error(`${failed.direction} failed: ${failed.error}`));
      } else if (transfers.length === 2 &&
                 transfers.every((transfer) => transfer.status === 'completed')) {
        resolve(Object.fromEntries(transfers.map((transfer) => [transfer.direction, transfer])));
      } else {
        setTimeout(poll, 100);
      }
    };
    poll();
  });
}

function compareBytes({ receive, send }) {
  const received = receive.files[0].path;
  check(received.startsWith(downloads), `the download went to ${received}`);
  check(page.sameFiles(original, received), 'the downloaded bytes differ');
  const sent = send.files[0].path;
  check(page.sameFiles(upload, sent), 'the uploaded bytes differ');
  say(`Both are complete: ${receive.bytes_written} bytes came to ${received}, ` +
      `${send.bytes_written} bytes went to ${sent}; every byte is the same.`);
}

async function main() {
  openSession();
  showVersions();
  passRequestsThrough();
  const earlier = transfersSoFar().map((transfer) => transfer.id);
  startTransfers();
  compareBytes(await transfersEnded(earlier));
  console.log('Proved: a page script drove the module, the module spoke with the application, and real bytes moved.');
  quit(0);
}

main();
