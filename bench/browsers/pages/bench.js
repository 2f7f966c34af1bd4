// Does in a page what the benchmark's program orders, and answers with what it measured.
(() => {
  'use strict';

  const element = document.querySelector('embed');
  let promises;  // as the promise API keeps it
  let application;  // its port
  let echoes = 0;
  const echoed = new Map();

  document.addEventListener('echo:back', (event) => {
    const { n, text } = JSON.parse(event.detail);
    echoed.get(n)?.(text);  // nobody waits for what is pushed
    echoed.delete(n);
  });

  function echo(what) {
    const n = ++echoes;
    return new Promise((resolve) => {
      echoed.set(n, resolve);
      document.dispatchEvent(new CustomEvent('echo:there', { detail: JSON.stringify({ n, ...what }) }));
    });
  }

  const path = (size) => `/bench/size/${size}`;

  // Each from the page to the other end and back, with an answer of `size` characters.
  const contestants = {
    echo: (size) => echo({ text: 'x'.repeat(size) }),
    asked: (size) => echo({ ask: application, text: 'x'.repeat(size) }),
    promise: (size) => new Promise((resolve, reject) => {
      promises ??= element[Symbol.for('orvane-web.promises')];
      promises.call('pellionHttpRequestAsync', 'POST', path(size), '', resolve).catch(reject);
    }),
    callback: (size) => new Promise((resolve) => {
      element.pellionHttpRequestAsync('POST', path(size), '', resolve);
    }),
    request: (size) => element.pellionHttpRequest('POST', path(size), ''),
    version: () => element.queryVersion(),
  };

  // The mean of the middle half: clocks of browsers are coarse, and single calls are disturbed.
  function middle(times) {
    const half = [...times].sort((a, b) => a - b).slice(times.length >> 2, Math.ceil(times.length * 0.75));
    return half.reduce((sum, time) => sum + time, 0) / half.length;
  }

  async function timeOf(call) {
    const start = performance.now();
    const answer = await call();
    return [performance.now() - start, answer];
  }

  // `sizes` of the answers by contestant. Where there are several, they alternate call by call.
  async function calls(sizes, count) {
    const times = Object.fromEntries(Object.keys(sizes).map((name) => [name, []]));
    for (let i = 0; i < count; ++i) {
      for (const name of Object.keys(sizes).sort(() => Math.random() - 0.5)) {
        const [time, answer] = await timeOf(() => contestants[name](sizes[name]));
        if (typeof answer !== 'string' || (sizes[name] > 0 && answer.length !== sizes[name])) {
          throw new Error(`${name}: a wrong answer, ${String(answer).slice(0, 100)}`);
        }
        times[name].push(time);
      }
    }
    return Object.fromEntries(Object.entries(times).map(([name, taken]) => [name, middle(taken)]));
  }

  // The time from a fresh document's first use of the way to the answer; the document goes afterwards.
  function first(page) {
    return new Promise((resolve) => {
      const frame = document.createElement('iframe');
      addEventListener('message', ({ data }) => {
        frame.remove();
        resolve(data);
      }, { once: true });
      frame.src = page;
      document.body.append(frame);
    });
  }

  const commands = {
    application: (port) => (application = port),
    calls,
    first,
    wait: (ms) => element.pellionHttpRequest('POST', `/bench/wait/${ms}`, ''),
    elements: (count) => {
      while (document.embeds.length < count) {
        document.body.append(element.cloneNode());
      }
      return [...document.embeds].map((each) => each.queryVersion()).length;
    },
    frames: async (page, count) => {
      for (let i = 0; i < count; ++i) {
        const frame = document.createElement('iframe');
        const answered = new Promise((resolve) => addEventListener('message', resolve, { once: true }));
        frame.src = page;
        document.body.append(frame);
        await answered;
      }
      return count;
    },
  };

  async function obey({ name, args }) {
    try {
      return { value: await commands[name](...args) };
    } catch (error) {
      return { error: String(error) };
    }
  }

  const answer = (what) => fetch('/answer', { method: 'POST', body: JSON.stringify(what) });

  async function serve() {
    const { responseStart, loadEventEnd } = performance.getEntriesByType('navigation')[0];
    await answer({ value: loadEventEnd - responseStart });
    for (;;) {
      const order = await (await fetch('/order')).json();
      if (order.name === 'go') {
        location.replace(order.args[0]);
        return;
      }
      await answer(await obey(order));
    }
  }

  addEventListener('load', () => setTimeout(serve, 0));
})();
