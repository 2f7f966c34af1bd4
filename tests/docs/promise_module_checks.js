// The module with an element as the extension makes it: its promises are all that may be used, since a use of
// anything else of it is a synchronous request. Needs `connect` and `OrvaneWebError`; prints what is wrong.

async function checkModule(print) {
  const kVersion = { queryVersion: () => '3.1' };
  const kSession = { initSession: (id) => `{"app_id":"${id}"}` };

  function same(actual, expected, label) {
    const [seen, wanted] = [actual, expected].map((value) => JSON.stringify(value));
    if (seen !== wanted) {
      print(`${label}: ${seen} instead of ${wanted}`);
    }
  }

  // `methods` answer or throw; a text that is given for a callback is called back.
  function fakeElement(methods) {
    const way = {
      sets: [],
      call: async (name, ...args) => methods[name](...args),
      set: async (name, value) => { way.sets.push([name, value]); },
      get: async () => {
        if (way.gone) {
          throw new Error(way.gone);
        }
        return '';
      },
    };
    way.tell = (type, value) => way.sets[0][1](type, typeof value === 'string' ? value : JSON.stringify(value));
    const allowed = { nodeType: 1, parentNode: null, [Symbol.for('orvane-web.promises')]: way };
    way.element = new Proxy(allowed, {
      get(target, name) {
        if (!(name in target)) {
          throw new Error(`a synchronous request: ${String(name)}`);
        }
        return target[name];
      },
      set(target, name) { throw new Error(`a synchronous request: ${String(name)}`); },
    });
    return way;
  }

  // What comes of a promise: its value, or the code, message and status of its error.
  async function outcome(promise) {
    try {
      return await promise;
    } catch (error) {
      const isOurs = error instanceof OrvaneWebError;
      return isOurs ? [error.code, error.message, error.status] : `no error of ours: ${error}`;
    }
  }

  function throwing(text) {
    return () => { throw new Error(text); };
  }

  // The module looks every few seconds whether an element is still there.
  const { setTimeout } = globalThis;
  globalThis.setTimeout = (callback, milliseconds) => setTimeout(callback, milliseconds / 100);

  for (const [text, code] of [
    ['This site is not allowed to use Orvane Web. Allow it: …', 'not-allowed'],
    ['Orvane Web: the program beside the browser has ended. Reload the page.', 'ended'],
    ['There is no orvane-web-host.', 'missing'],
    ['Orvane Web: more than 64 documents of this tab use the plugin.', 'blocked'],
  ]) {
    const way = fakeElement({ queryVersion: throwing(text) });
    same(await outcome(connect(way.element)), [code, text, null], 'connect');
  }
  same((await outcome(connect({ nodeType: 1 }, { wait: 0 })))[0], 'missing', 'an element without a plugin');
  navigator.mimeTypes = { 'application/x-orvane-web': {} };
  same((await outcome(connect({ nodeType: 1 }, { wait: 0 })))[0], 'blocked', 'a plugin that is kept away');
  globalThis.document = { body: null };
  for (const [target, label] of [
    [null, 'no element'],
    [{}, 'no body to put one into'],
    [{ nodeType: 1, getAttribute: () => 'text/plain' }, 'another type'],
    [{ nodeType: 1, isConnected: false }, 'out of the document'],
  ]) {
    same((await outcome(connect(target, { wait: 0 })))[0], 'refused', label);
  }

  const own = (message) => `{"error":{"code":-1,"user_message":"${message}"}}`;
  for (const [text, expected] of [
    ['{"a":[1]}', { a: [1] }],
    ['', null],
    [own('A "quoted" C:\\new\nline'), ['failed', 'A "quoted" C:\\new\nline', null]],
    [own('A dialog is already open'), ['dialog-open', 'A dialog is already open', null]],
    [own('Error contacting Orvane Pellion. …'), ['unreachable', 'Error contacting Orvane Pellion. …', null]],
    ['{"error":{"code":404,"user_message":"say \\"x\\""}}', ['failed', 'say "x"', 404]],
    ['no JSON', ['failed', 'no JSON', null]],
  ]) {
    for (const how of ['by the callback', 'at once']) {
      const isLater = how === 'by the callback';
      const way = fakeElement({
        ...kVersion,
        pellionHttpRequestAsync(method, path, data, callback) {
          same([method, path, data], ['POST', '/p', '{"b":1}'], 'arguments');
          return isLater ? (setTimeout(callback, 0, text), null) : text;
        },
      });
      same(await outcome((await connect(way.element)).request('POST', '/p', { b: 1 })), expected, `${text} ${how}`);
    }
  }

  for (const [text, paths] of [
    ['[]', []],
    ['["/a b","/c\\\\d/\\\\\\\\e"]', ['/a b', '/c\\d/\\\\e']],
    ['["/say "x", "y"","/two\nlines"]', ['/say "x", "y"', '/two\nlines']],
  ]) {
    const way = fakeElement({ ...kVersion, runOpenFileDialogAsync: (...args) => (args.pop()(text), null) });
    const orvane = await connect(way.element);
    same(await outcome(orvane.runOpenFileDialog()), paths, text);
    let dropped = null;
    orvane.addEventListener('drop', ({ detail }) => { dropped = detail; }, { once: true });
    way.tell('drop', text);
    way.tell('drop', '["/again"]');
    same(dropped, paths, `drop ${text}`);
  }
  for (const [text, path] of [['""', null], ['"/a "b" \\\\"', '/a "b" \\']]) {
    const way = fakeElement({ ...kVersion, runSaveFileDialogAsync: (...args) => (args.pop()(text), null) });
    same(await outcome((await connect(way.element)).runSaveFileDialog()), path, text);
  }

  {
    const way = fakeElement({ ...kVersion, startDownload: throwing('Error calling method on NPObject.') });
    const orvane = await connect(way.element);
    same((await outcome(orvane.startDownload('')))[0], 'refused', 'a refusal');
    const errors = [];
    orvane.addEventListener('error', ({ detail }) => errors.push(detail.message));
    way.tell('later', 'whatever');
    way.tell('transfer', own('broken'));
    same(errors, ['broken'], 'an event that cannot be read');
    orvane.close();
    const sets = way.sets.map(([name, value]) => [name, typeof value]);
    same(sets, [['eventHandler', 'function'], ['eventHandler', 'object']], 'what is set');
  }

  {
    const way = fakeElement({ ...kVersion, ...kSession, pellionHttpRequestAsync: () => null });
    const orvane = await connect(way.element);
    const told = [];
    orvane.addEventListener('close', ({ detail }) => told.push(detail.code));
    same(await orvane.initSession('a "b"'), { app_id: 'a "b"' }, 'session');
    const endless = {};
    endless.self = endless;
    same((await outcome(orvane.request('POST', '/', endless)))[0], 'refused', 'what becomes no JSON');
    const odd = await connect(fakeElement({ ...kVersion, ...kSession, pellionHttpRequestAsync: () => '{}' }).element);
    await odd.initSession('a');
    same((await outcome(odd.download('x')))[0], 'failed', 'an answer that names no transfers');
    same((await outcome((await connect(fakeElement(kVersion).element)).download('x')))[0], 'refused', 'no session');
    const state = (id, status, percentage) => ({ id, status, percentage });
    way.tell('transfer', { transfers: [state('early', 'completed', 100), state('other', 'completed', 100)] });
    const mine = orvane.transfers({ ids: ['early', 'late'] });
    way.tell('transfer', { transfers: [state('late', 'running', 10)] });
    way.tell('transfer', { transfers: [state('late', 'completed', 100)] });
    const seen = [];
    for await (const { id, percentage } of mine) {
      seen.push([id, percentage]);
    }
    same(seen, [['early', 100], ['late', 100]], 'a slow reader');

    const controller = {
      aborted: false,
      addEventListener: (type, listener) => { controller.abort = listener; },
      removeEventListener: () => {},
    };
    const aborted = orvane.transfers({ signal: controller });
    controller.abort();
    same((await outcome(aborted.next()))[0], 'aborted', 'an iterator that is aborted');
    same((await outcome(aborted.next())).done, true, 'after that');
    const left = orvane.transfers({ signal: controller });
    controller.abort();
    await left.return();
    same((await outcome(left.next())).done, true, 'an iterator that is left');

    const waiting = [orvane.request('GET', '/'), orvane.transfers().next(), orvane.transfers({ ids: ['never'] }).next()];
    way.gone = 'Orvane Web: the program beside the browser has ended. Reload the page.';
    for (const promise of waiting) {
      same((await outcome(promise))[0], 'ended', 'an end');
    }
    same((await outcome(orvane.queryVersion()))[0], 'ended', 'after the end');
    same(told, ['ended'], 'the close event');
    same(await connect(way.element) === orvane, false, 'a new connection');
  }
}
