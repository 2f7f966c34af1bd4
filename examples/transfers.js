// Transfers with progress: downloads several files, draws a bar for each from the plugin's events, and
// goes on when Orvane Pellion ends in the middle and comes back on another port.
//
//   orvane-page-host --fail-fast
//                    --arg sources=http://127.0.0.1:8000/a.bin,http://127.0.0.1:8000/b.bin
//                    [--arg interrupt=no] examples/transfers.js
//
// In a browser, `plugin` would be document.getElementById('plugin').

const kBarWidth = 24;
const kRunning = ['initiating', 'running'];

if (!page.args.sources) {
  throw new Error('--arg sources=ADDRESS,ADDRESS... is missing');
}

// One for each file that the page wants, whatever becomes of the transfers that bring it.
const jobs = page.args.sources.split(',').map((source) => ({
  source,
  name: source.slice(source.lastIndexOf('/') + 1),
  attempts: 0,
  transfer: null,
  shown: '',
}));
let interrupted = page.args.interrupt === 'no';
let drawnLines = 0;

function request(method, path, body) {
  return JSON.parse(plugin.pellionHttpRequest(method, path, JSON.stringify(body || {})));
}

// What the application did before this page is not this page's business.
const earlier = request('POST', '/v4/transfers/activity').transfers.map((transfer) => transfer.id);

function start(job) {
  job.attempts += 1;
  job.transfer = null;
  job.started = job.started || Date.now();
  plugin.startDownload(job.source);
}

function isDone(job) {
  return job.transfer !== null && job.transfer.status === 'completed';
}

function bytes(count) {
  const units = ['B', 'KiB', 'MiB', 'GiB'];
  let unit = 0;
  while (count >= 1024 && unit < units.length - 1) {
    count /= 1024;
    unit += 1;
  }
  return `${unit === 0 ? count : count.toFixed(1)} ${units[unit]}`;
}

function duration(seconds) {
  const whole = Math.ceil(seconds);
  return whole < 60 ? `${whole} s` : `${Math.floor(whole / 60)} min ${whole % 60} s`;
}

function timeLeft(transfer) {
  const missing = transfer.bytes_expected - transfer.bytes_written;
  return transfer.rate > 0 && missing > 0 ? `${duration(missing / transfer.rate)} left` : '';
}

function line(job) {
  const { transfer } = job;
  const percent = transfer ? transfer.percentage : 0;
  const filled = Math.round((percent / 100) * kBarWidth);
  const bar = '#'.repeat(filled) + '.'.repeat(kBarWidth - filled);
  const state = !transfer ? 'waiting' : kRunning.includes(transfer.status)
    ? `${bytes(transfer.rate)}/s  ${timeLeft(transfer)}` : transfer.status;
  return `${job.name.padEnd(16)} [${bar}] ${String(percent).padStart(3)} %  ${state}`;
}

// On a terminal the bars stay in place; elsewhere each change of a quarter is a plain line.
function draw() {
  if (page.isTerminal) {
    const text = jobs.map((job) => `\x1b[K${line(job)}\n`).join('');
    page.write((drawnLines > 0 ? `\x1b[${drawnLines}A` : '') + text);
    drawnLines = jobs.length;
    return;
  }
  for (const job of jobs) {
    const { transfer } = job;
    const mark = transfer ? `${job.attempts} ${transfer.status} ${Math.floor(transfer.percentage / 25)}` : '';
    if (mark !== job.shown) {
      job.shown = mark;
      console.log(line(job));
    }
  }
}

function note(text) {
  console.log(text);
  drawnLines = 0;
}

// Ends the application, as an update would. Once it is gone, what it had not finished is started once
// more: the first of these requests launches it again, and the events follow it to its new port.
function interrupt() {
  interrupted = true;
  const addressFile = `${page.env('HOME')}/.orvane/pellion/var/run/http.uri`;
  const before = page.readFile(addressFile);
  note('-- ending Orvane Pellion in the middle of it');
  request('POST', '/v4/pellion/exit');
  const restart = () => {
    if (page.exists(addressFile)) {
      setTimeout(restart, 20);
      return;
    }
    jobs.filter((job) => !isDone(job)).forEach(start);
    note(`-- it runs again: ${before} became ${page.readFile(addressFile)}`);
  };
  restart();
}

function reportTable() {
  console.log(`\n${'file'.padEnd(16)} ${'size'.padStart(10)} ${'time'.padStart(8)} ${'attempts'.padStart(9)}  to`);
  for (const job of jobs) {
    const seconds = (job.ended - job.started) / 1000;
    console.log(`${job.name.padEnd(16)} ${bytes(job.transfer.bytes_written).padStart(10)} ` +
                `${`${seconds.toFixed(1)} s`.padStart(8)} ${String(job.attempts).padStart(9)}  ` +
                `${job.transfer.files[0].path}`);
  }
}

// The job that a transfer works for. A local source stands in the report as its path.
function jobOf(transfer) {
  return transfer.files.length === 0 || earlier.includes(transfer.id) ? undefined
    : jobs.find((job) => job.source.replace('file://', '') ===
                         transfer.files[0].source.replace('file://', ''));
}

function onTransfer(activity) {
  for (const transfer of activity.transfers) {
    const job = jobOf(transfer);
    if (job && !isDone(job) && transfer.status !== 'cancelled') {
      job.transfer = transfer;
      if (transfer.status === 'failed') {
        throw new Error(`${job.name}: ${transfer.error}`);
      }
      if (isDone(job)) {
        job.ended = Date.now();
      }
    }
  }
  draw();
  if (jobs.every(isDone)) {
    reportTable();
    quit(0);
  } else if (!interrupted && jobs.some((job) => job.transfer && job.transfer.percentage >= 20)) {
    interrupt();
  }
}

const session = JSON.parse(plugin.initSession('transfers', 'example.org'));
if (session.error) {
  throw new Error(session.error.user_message);
}
plugin.eventHandler = (type, data) => {
  if (type === 'transfer') {
    onTransfer(JSON.parse(data));
  }
};
jobs.forEach(start);
draw();
