// Drop zone: one area uploads what is dropped on it, the other reports it to the page; then the user
// says in a save dialog where one download may go.
//
//   orvane-page-host --fail-fast --window --keep-open
//                    --param drop-mode=upload --param drop-allow-multiple=true
//                    --param drop-upload-url=file:///home/me/received/ --param image=file:///srv/drop.png
//                    --arg source=http://127.0.0.1:8000/report.pdf examples/drop-zone.js
//
// In a browser, both areas would be embed elements.

const { source } = page.args;
if (!source || !page.hasWindow) {
  throw new Error('this page needs --window and --arg source=ADDRESS');
}
const completed = new Set();
const dropsToCome = new Set(['upload', 'report']);

// The second area only tells the page what was dropped.
const observed = createPlugin({ 'drop-mode': 'callback', 'drop-allow-multiple': 'true',
                                'drop-allow-directories': 'true' });

function bytes(count) {
  return count < 1048576 ? `${(count / 1024).toFixed(0)} KiB` : `${(count / 1048576).toFixed(1)} MiB`;
}

function nameOf(transfer) {
  const path = transfer.files.length > 0 ? transfer.files[0].path || transfer.files[0].source : transfer.id;
  return path.slice(path.lastIndexOf('/') + 1);
}

function showProgress(transfer) {
  const arrow = transfer.direction === 'send' ? 'Upload of' : 'Download of';
  const rate = transfer.status === 'running' ? `, ${bytes(transfer.rate)}/s` : `, ${transfer.status}`;
  page.progress(`transfer ${transfer.id}`, transfer.percentage / 100,
                `${arrow} ${nameOf(transfer)}: ${bytes(transfer.bytes_written)} of ` +
                `${bytes(transfer.bytes_expected)}${rate}`);
  if (transfer.status === 'completed' && !completed.has(transfer.id)) {
    completed.add(transfer.id);
    console.log(`${arrow} ${nameOf(transfer)} is complete.`);
    if (transfer.direction === 'send') {
      dropSeen('upload');
    } else {
      downloadComplete();
    }
  }
  if (transfer.status === 'failed') {
    throw new Error(`${arrow} ${nameOf(transfer)}: ${transfer.error}`);
  }
}

function dropSeen(kind) {
  if (dropsToCome.delete(kind) && dropsToCome.size === 0) {
    console.log('Both drops are done. Where may the download go?');
    plugin.runSaveFileDialogAsync('Save the report', source.slice(source.lastIndexOf('/') + 1), '', saveTo);
  }
}

let granted = '';

function saveTo(answer) {
  granted = JSON.parse(answer);
  if (typeof granted !== 'string' || granted === '') {
    console.log('No place was chosen: nothing is downloaded.');
    quit(1);
    return;
  }
  console.log(`The user chose ${granted}.`);
  plugin.startDownloadToPath(source, granted);
}

// The grant was good for one download: asking for a second one to the same place is refused.
function downloadComplete() {
  const answer = JSON.parse(plugin.pellionHttpRequest('POST', '/v4/transfers/start', JSON.stringify({
    transfer_specs: [{
      orvane_pellion_settings: { use_absolute_destination_path: true },
      transfer_spec: { direction: 'receive', destination_root: granted, paths: [{ source }] },
    }],
  })));
  if (!answer.error) {
    throw new Error('a second download to the same place was not refused');
  }
  console.log(`A second download there is refused: "${answer.error.user_message}".`);
  console.log('Proved: a drop was uploaded, a drop was reported, and one download went where the user chose.');
  quit(0);
}

const session = JSON.parse(plugin.initSession('drop-zone', 'example.org'));
if (session.error) {
  throw new Error(session.error.user_message);
}
// What the application did before this page is not this page's business.
const earlier = JSON.parse(plugin.pellionHttpRequest('POST', '/v4/transfers/activity', '{}'))
  .transfers.map((transfer) => transfer.id);
plugin.eventHandler = (type, data) => {
  if (type === 'transfer') {
    JSON.parse(data).transfers.filter(({ id }) => !earlier.includes(id)).forEach(showProgress);
  }
};
observed.dropObserver = {
  onDrop(paths) {
    console.log(`Dropped on the second area: ${paths}`);
    dropSeen('report');
  },
};
console.log('Drop a file on the first area: it is uploaded.');
console.log('Drop anything on the second area: the page is told.');
