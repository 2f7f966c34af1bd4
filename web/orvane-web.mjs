// Orvane Web 3.2.0 with promises: one way for Firefox, Chromium and browsers with NPAPI plugins. The pages
// docs/promise-api.md and web/orvane-web.d.mts describe what it exports.
//
// The syntax is that of 2015, for the engines that still load NPAPI plugins.

/** @typedef {import('./orvane-web.d.mts').Connection} Connection */
/** @typedef {import('./orvane-web.d.mts').Parameters} Parameters */
/** @typedef {import('./orvane-web.d.mts').ConnectOptions} ConnectOptions */
/** @typedef {import('./orvane-web.d.mts').ErrorCode} ErrorCode */
/** @typedef {import('./orvane-web.d.mts').FileTypes} FileTypes */
/** @typedef {import('./orvane-web.d.mts').TransferOptions} TransferOptions */
/** @typedef {OrvaneWeb.Transfer} Transfer */
/** @typedef {{ signal?: AbortSignal }} Stoppable */
/** @typedef {(error: OrvaneWebError) => void} Stop */

/**
 * How an element is reached.
 * @typedef {{
 *   call(name: string, ...args: any[]): Promise<any>,
 *   get(name: string): Promise<any>,
 *   set(name: string, value: any): Promise<any>,
 * }} Way
 */

const kType = 'application/x-orvane-web';
// The extension has it on its elements; the element's own members would be synchronous requests there.
const kPromises = Symbol.for('orvane-web.promises');
/** @type {typeof Symbol.asyncIterator} */
const kAsyncIterator = Symbol.asyncIterator || Symbol.for('Symbol.asyncIterator');
const kMaxKnownTransfers = 1000;
// While something is open: callbacks of an element that has gone never come.
const kLifeCheckMs = 5000;

/** @type {[RegExp, ErrorCode][]} */
const kSentences = [
  [/^(This site is not allowed|Nobody could be asked)/, 'not-allowed'],
  [/program beside the browser has ended|has been updated or switched off|element has ended/, 'ended'],
  [/^This is no element of the plugin/, 'ended'],
  [/^Error calling method on NPObject/, 'refused'],
  [/^Error (contacting Orvane Pellion|creating HTTP request)/, 'unreachable'],
  [/^The website attempted to transfer to an unauthorized directory/, 'not-granted'],
  [/^A dialog is already open/, 'dialog-open'],
  [/more than \d+ documents of this tab/, 'blocked'],
];

// Methods whose answer is a text or nothing.
const kPlainMethods = [
  'startDownload', 'startDownloadToPath', 'startUploadToURL', 'addToDownloadList', 'clearDownloadList',
  'startListDownloadToPath', 'addToUploadList', 'clearUploadList', 'startListUploadToURL', 'handleDrop',
  'displayTransferManager', 'displayAboutWindow', 'displayPreferencesWindow', 'queryVersion',
  'queryPluginVersion', 'queryBuildVersion', 'queryBrowserEngine',
];

export class OrvaneWebError extends Error {
  /**
   * @param {ErrorCode} code
   * @param {string} message
   * @param {{ status?: number, cause?: unknown }} [more]
   */
  constructor(code, message, more) {
    super(message);
    this.name = 'OrvaneWebError';
    this.code = code;
    this.status = more && more.status;
    this.cause = more && more.cause;
  }
}

/**
 * The error that a sentence stands for.
 * @param {string} sentence
 * @param {ErrorCode} otherwise
 * @param {unknown} [cause]
 */
function errorFrom(sentence, otherwise, cause) {
  const known = kSentences.find((row) => row[0].test(sentence));
  return new OrvaneWebError(known ? known[1] : otherwise, sentence, { cause });
}

/**
 * @param {any} error  whatever a promise was rejected with
 * @param {ErrorCode} [otherwise]
 */
function asOurs(error, otherwise) {
  if (error instanceof OrvaneWebError) {
    return error;
  }
  const sentence = String((error && error.message) || error);
  return errorFrom(sentence, otherwise || 'failed', error);
}

/** @param {AbortSignal} signal */
function aborted(signal) {
  return new OrvaneWebError('aborted', 'The page gave it up.', { cause: signal.reason });
}

/**
 * What a JSON text holds; null for an empty one. Throws what an error document says.
 * @param {string} text
 * @returns {any}
 */
function answerOf(text) {
  // The plugin does not escape its messages, so that they need not be JSON.
  const own = /^\{"error":\{"code":-1,"user_message":"([^]*)"\}\}$/.exec(text);
  if (own) {
    throw errorFrom(own[1], 'failed');
  }
  let answer = null;
  try {
    answer = text === '' ? null : JSON.parse(text);
  } catch (cause) {
    throw errorFrom(text, 'failed', cause);
  }
  if (answer && answer.error && typeof answer.error.user_message === 'string') {
    throw new OrvaneWebError('failed', answer.error.user_message, { status: answer.error.code });
  }
  return answer;
}

/** @param {string} path */
function unescaped(path) {
  return path.replace(/\\\\/g, '\\');
}

/**
 * The paths in a text like ["/a","/b"]: only backslashes are escaped there, so that it need not be JSON.
 * @param {string} text
 * @returns {string[]}
 */
function pathsOf(text) {
  const list = /^\["\/([^]*)"\]$/.exec(text);
  return list ? list[1].split('","/').map((path) => '/' + unescaped(path)) : answerOf(text);
}

/**
 * The path in a text like "/a"; null for an empty one.
 * @param {string} text
 * @returns {string | null}
 */
function pathOf(text) {
  const path = /^"(\/[^]*)"$/.exec(text);
  return path ? unescaped(path[1]) : answerOf(text) || null;
}

/**
 * The session; its id is not escaped.
 * @param {string} text
 * @returns {OrvaneWeb.Session}
 */
function sessionOf(text) {
  const session = /^\{"app_id":"([^]*)"\}$/.exec(text);
  return session ? { app_id: session[1] } : answerOf(text);
}

/** @param {unknown} data */
function dataText(data) {
  return data === undefined || data === null ? '' : typeof data === 'string' ? data : JSON.stringify(data);
}

/** @param {FileTypes} [types] */
function fileTypesText(types) {
  const known = types || {};
  const filters = Object.keys(known).map((name) => ({ filter_name: name, extensions: known[name] }));
  return filters.length > 0 ? JSON.stringify(filters) : '';
}

/**
 * A promise that the signal rejects as well, and each function that it leaves in `stops` meanwhile.
 * @template T
 * @param {Set<Stop>} stops
 * @param {AbortSignal | undefined} signal
 * @param {() => Promise<T>} start
 * @returns {Promise<T>}
 */
function stoppable(stops, signal, start) {
  return new Promise((resolve, reject) => {
    const done = () => {
      stops.delete(stop);
      if (signal) {
        signal.removeEventListener('abort', abort);
      }
    };
    /** @type {Stop} */
    const stop = (error) => {
      done();
      reject(error);
    };
    const abort = () => stop(aborted(/** @type {AbortSignal} */ (signal)));
    if (signal && signal.aborted) {
      abort();
      return;
    }
    stops.add(stop);
    if (signal) {
      signal.addEventListener('abort', abort);
    }
    new Promise((started) => started(start())).then((/** @type {any} */ value) => {
      done();
      resolve(value);
    }, stop);
  });
}

// What EventTarget does, for engines that do not let anybody extend it.
class OwnEventTarget {
  constructor() {
    /** @type {{ type: string, listener: any, once: boolean }[]} */
    this._listeners = [];
  }

  /**
   * @param {string} type
   * @param {any} listener
   * @param {any} [options]
   */
  addEventListener(type, listener, options) {
    if (listener && !this._listeners.some((entry) => entry.type === type && entry.listener === listener)) {
      this._listeners.push({ type, listener, once: Boolean(options && options.once) });
    }
  }

  /**
   * @param {string} type
   * @param {any} listener
   */
  removeEventListener(type, listener) {
    this._listeners = this._listeners.filter((entry) => entry.type !== type || entry.listener !== listener);
  }

  /** @param {any} event */
  dispatchEvent(event) {
    this._listeners.filter((entry) => entry.type === event.type).forEach(({ type, listener, once }) => {
      if (once) {
        this.removeEventListener(type, listener);
      }
      try {
        typeof listener === 'function' ? listener.call(this, event) : listener.handleEvent(event);
      } catch (error) {
        setTimeout(() => { throw error; }, 0);
      }
    });
    return true;
  }
}

function isEventTargetExtensible() {
  try {
    return Boolean(new EventTarget());
  } catch (e) {
    return false;
  }
}

/** @type {typeof EventTarget} */
const Target = isEventTargetExtensible() ? EventTarget : /** @type {any} */ (OwnEventTarget);

/** @param {Transfer} transfer */
function isOver(transfer) {
  return ['completed', 'failed', 'cancelled'].indexOf(transfer.status) >= 0;
}

// An async iterator of transfers: all of them, or those of some ids until all of these are over. Who reads
// slowly gets the latest state of each.
class TransferQueue {
  /**
   * @param {Iterable<string> | undefined} ids
   * @param {() => void} onEnd
   */
  constructor(ids, onEnd) {
    this._left = ids && new Set(ids);
    this._onEnd = onEnd;
    /** @type {Map<string, Transfer>} */
    this._unread = new Map();
    /** @type {{ resolve: (result: any) => void, reject: Stop }[]} */
    this._readers = [];
    this._isOver = false;
    /** @type {OrvaneWebError | undefined} */
    this._error = undefined;
  }

  /** @param {Transfer} transfer */
  feed(transfer) {
    if (this._isOver || (this._left && !this._left.has(transfer.id))) {
      return;
    }
    this._unread.set(transfer.id, transfer);
    if (this._left && isOver(transfer)) {
      this._left.delete(transfer.id);
    }
    this._serve();
    this.endWithTheLast();
  }

  /** @param {OrvaneWebError} [error]  thrown once what is unread has been read */
  end(error) {
    if (!this._isOver) {
      this._isOver = true;
      this._error = error;
      this._onEnd();
      this._serve();
    }
  }

  /** @returns {Promise<IteratorResult<Transfer>>} */
  next() {
    return new Promise((resolve, reject) => {
      this._readers.push({ resolve, reject });
      this._serve();
    });
  }

  /** @returns {Promise<IteratorResult<Transfer>>} */
  return() {
    this._unread.clear();
    this._error = undefined;
    this.end();
    return Promise.resolve({ value: undefined, done: true });
  }

  [kAsyncIterator]() {
    return this;
  }

  endWithTheLast() {
    if (this._left && this._left.size === 0) {
      this.end();
    }
  }

  _serve() {
    while (this._readers.length > 0 && (this._unread.size > 0 || this._isOver)) {
      const { resolve, reject } = /** @type {any} */ (this._readers.shift());
      const first = this._unread.values().next();
      if (!first.done) {
        this._unread.delete(first.value.id);
        resolve({ value: first.value, done: false });
      } else if (this._error) {
        reject(this._error);
        this._error = undefined;
      } else {
        resolve({ value: undefined, done: true });
      }
    }
  }
}

class PluginConnection extends Target {
  /**
   * @param {any} element
   * @param {Way} way
   * @param {string} version
   * @param {() => void} onEnd
   */
  constructor(element, way, version, onEnd) {
    super();
    this.element = element;
    this.version = version;
    this._way = way;
    this._onEnd = onEnd;
    /** @type {OrvaneWebError | null} */
    this._over = null;
    /** @type {Set<Stop>} */
    this._stops = new Set();
    /** @type {Set<TransferQueue>} */
    this._queues = new Set();
    /** @type {Map<string, Transfer>} */
    this._transfers = new Map();
    /** @type {OrvaneWeb.Session | null} */
    this._session = null;
    /** @type {ReturnType<typeof setTimeout> | null} */
    this._lifeCheck = null;
  }

  listen() {
    return this._way.set('eventHandler', (/** @type {string} */ type, /** @type {string} */ text) => {
      try {
        this._onEvent(type, text);
      } catch (error) {
        this._say('error', asOurs(error));
      }
    });
  }

  close() {
    this._end(new OrvaneWebError('closed', 'The connection was closed.'));
  }

  /**
   * @param {string} appId
   * @param {string} [domain]
   */
  initSession(appId, domain) {
    return this._call('initSession', [appId, domain || ''], sessionOf).then((session) => {
      this._session = session;
      return session;
    });
  }

  queryPellionVersion() {
    return this._call('queryPellionVersion', [], answerOf);
  }

  /**
   * @param {string} method
   * @param {string} path
   * @param {unknown} [data]
   * @param {Stoppable} [options]
   */
  request(method, path, data, options) {
    let text = '';
    try {
      text = dataText(data);
    } catch (cause) {
      return Promise.reject(asOurs(cause, 'refused'));
    }
    return this._callBack('pellionHttpRequestAsync', [method, path, text], answerOf, options);
  }

  /** @param {{ title?: string, multiple?: boolean, types?: FileTypes } & Stoppable} [options] */
  runOpenFileDialog(options) {
    const { title = '', multiple = false, types, signal } = options || {};
    return this._callBack('runOpenFileDialogAsync', [title, multiple, fileTypesText(types)], pathsOf, { signal });
  }

  /** @param {{ title?: string, multiple?: boolean } & Stoppable} [options] */
  runOpenFolderDialog(options) {
    const { title = '', multiple = false, signal } = options || {};
    return this._callBack('runOpenFolderDialogAsync', [title, multiple], pathsOf, { signal });
  }

  /** @param {{ title?: string, suggestedName?: string, types?: FileTypes } & Stoppable} [options] */
  runSaveFileDialog(options) {
    const { title = '', suggestedName = '', types, signal } = options || {};
    return this._callBack('runSaveFileDialogAsync', [title, suggestedName, fileTypesText(types)], pathOf, { signal });
  }

  /**
   * @param {string | string[]} sources
   * @param {TransferOptions} [options]
   */
  download(sources, options) {
    return this._transfer('receive', sources, options || {});
  }

  /**
   * @param {string | string[]} paths
   * @param {TransferOptions} [options]
   */
  upload(paths, options) {
    return this._transfer('send', paths, options || {});
  }

  /** @param {{ ids?: Iterable<string> } & Stoppable} [options] */
  transfers(options) {
    const { ids, signal } = options || {};
    const abort = () => queue.end(aborted(/** @type {AbortSignal} */ (signal)));
    const queue = new TransferQueue(ids, () => {
      this._queues.delete(queue);
      if (signal) {
        signal.removeEventListener('abort', abort);
      }
    });
    this._queues.add(queue);
    if (this._over || (signal && signal.aborted)) {
      this._over ? queue.end(this._over) : abort();
      return queue;
    }
    if (signal) {
      signal.addEventListener('abort', abort);
    }
    this._checkLife();
    if (ids) {
      this._transfers.forEach((transfer) => queue.feed(transfer));
      queue.endWithTheLast();
    }
    return queue;
  }

  /**
   * @param {'receive' | 'send'} direction
   * @param {string | string[]} sources
   * @param {TransferOptions} options
   */
  _transfer(direction, sources, options) {
    if (!this._session) {
      const error = new OrvaneWebError('refused', 'Transfers are followed in a session: call initSession() first.');
      return Promise.reject(error);
    }
    const paths = (Array.isArray(sources) ? sources : [sources]).map((source) => ({ source }));
    /** @type {OrvaneWeb.TransferSpec} */
    const spec = {
      orvane_pellion_settings: {
        app_id: this._session.app_id,
        use_absolute_destination_path: direction === 'receive' && Boolean(options.to),
      },
      transfer_spec: { direction, paths, destination_root: options.to },
    };
    return this.request('POST', '/v4/transfers/start', { transfer_specs: [spec] }, { signal: options.signal })
      .then((/** @type {OrvaneWeb.StartedTransfers} */ started) => {
        return this.transfers({ ids: started.transfers.map(({ id }) => id), signal: options.signal });
      })
      .catch((error) => { throw asOurs(error); });
  }

  /**
   * @param {string} name
   * @param {unknown[]} args
   * @param {(answer: any) => any} [parse]
   */
  _call(name, args, parse) {
    return this._run(undefined, () => this._way.call(name, ...args).then(parse));
  }

  /**
   * A method that takes a callback, and answers null when it will be called.
   * @param {string} name
   * @param {unknown[]} args
   * @param {(text: string) => any} parse
   * @param {Stoppable} [options]
   */
  _callBack(name, args, parse, options) {
    return this._run(options && options.signal, () => {
      return new Promise((resolve, reject) => {
        /** @param {string} text */
        const settle = (text) => new Promise((parsed) => parsed(parse(text))).then(resolve, reject);
        this._way.call(name, ...args, settle)
          .then((refusal) => (refusal === null ? undefined : settle(refusal)))
          .catch(reject);
      });
    });
  }

  /**
   * @param {AbortSignal | undefined} signal
   * @param {() => Promise<any>} start
   */
  _run(signal, start) {
    if (this._over) {
      return Promise.reject(this._over);
    }
    this._checkLife();
    return stoppable(this._stops, signal, start).catch((reason) => {
      const error = asOurs(reason);
      if (error.code === 'ended') {
        this._end(error);
      }
      throw error;
    });
  }

  _checkLife() {
    if (this._lifeCheck !== null) {
      return;
    }
    this._lifeCheck = setTimeout(() => {
      this._lifeCheck = null;
      if (!this._over && this._stops.size + this._queues.size > 0) {
        this._way.get('name').then(() => this._checkLife(), (cause) => {
          this._end(new OrvaneWebError('ended', asOurs(cause).message, { cause }));
        });
      }
    }, kLifeCheckMs);
  }

  /**
   * @param {string} type
   * @param {string} text
   */
  _onEvent(type, text) {
    if (this._over) {
      return;
    }
    if (type === 'drop') {
      this._say('drop', pathsOf(text));
    } else if (type === 'transfer') {
      const activity = answerOf(text);
      activity.transfers.forEach((/** @type {Transfer} */ transfer) => this._onTransfer(transfer));
      this._say('activity', activity);
    }
  }

  /** @param {Transfer} transfer */
  _onTransfer(transfer) {
    this._transfers.delete(transfer.id);
    this._transfers.set(transfer.id, transfer);
    if (this._transfers.size > kMaxKnownTransfers) {
      this._transfers.delete(Array.from(this._transfers.keys())[0]);
    }
    this._queues.forEach((queue) => queue.feed(transfer));
    this._say('transfer', transfer);
  }

  /** @param {OrvaneWebError} reason */
  _end(reason) {
    if (this._over) {
      return;
    }
    this._over = reason;
    if (reason.code === 'closed') {
      this._way.set('eventHandler', null).catch(() => {});
    }
    this._onEnd();
    this._stops.forEach((stop) => stop(reason));
    this._queues.forEach((queue) => queue.end(reason.code === 'closed' ? undefined : reason));
    this._say('close', reason);
  }

  /**
   * @param {string} type
   * @param {unknown} detail
   */
  _say(type, detail) {
    const isOwn = /** @type {unknown} */ (Target) === OwnEventTarget;
    const event = isOwn ? { type, detail, target: this } : new CustomEvent(type, { detail });
    this.dispatchEvent(/** @type {any} */ (event));
  }
}

kPlainMethods.forEach((name) => {
  /** @type {any} */ (PluginConnection.prototype)[name] = function(/** @type {unknown[]} */ ...args) {
    return this._call(name, args);
  };
});

/** @type {WeakMap<object, Promise<Connection>>} */
const kConnections = new WeakMap();

/**
 * The element's own members, which answer at once, as promises.
 * @param {any} element
 * @returns {Way}
 */
function membersOf(element) {
  /**
   * @param {string} name
   * @param {() => any} use
   */
  const attempt = (name, use) => new Promise((resolve, reject) => {
    if (typeof element.queryVersion !== 'function') {
      reject(new OrvaneWebError('ended', 'The element has no Orvane Web plugin any more.'));
      return;
    }
    try {
      resolve(use());
    } catch (cause) {
      reject(new OrvaneWebError('refused', `Orvane Web refused ${name}: ${asOurs(cause).message}`, { cause }));
    }
  });
  return {
    call: (name, ...args) => attempt(name, () => element[name](...args)),
    get: (name) => attempt(name, () => element[name]),
    set: (name, value) => attempt(name, () => { element[name] = value; }),
  };
}

/**
 * @param {any} element
 * @returns {Way | null}
 */
function wayTo(element) {
  return element[kPromises] || (typeof element.queryVersion === 'function' ? membersOf(element) : null);
}

/**
 * Why there is no plugin at the element.
 * @param {any} element
 */
function missingAt(element) {
  const type = typeof element.getAttribute === 'function' ? String(element.getAttribute('type')) : kType;
  if (type.trim().toLowerCase() !== kType || element.isConnected === false) {
    return new OrvaneWebError('refused', `The element is not of the type ${kType}, or not in the document.`);
  }
  const types = /** @type {any} */ (navigator).mimeTypes;
  if (types && types[kType]) {
    return new OrvaneWebError('blocked', 'Orvane Web is installed, but this browser keeps it from this page. ' +
      'Allow it here, and load the page again.');
  }
  return /Firefox|Chrom/.test(navigator.userAgent)
    ? new OrvaneWebError('missing', 'The Orvane Web extension is missing, or kept from this page. Install the ' +
        'package orvane-web-extension and start the browser anew, or allow the extension here, in private windows ' +
        'as well; then load the page again.')
    : new OrvaneWebError('missing', 'The Orvane Web plugin is missing. Put nporvaneweb.so into ' +
        '~/.mozilla/plugins, start the browser anew, and load the page again.');
}

/**
 * Some browsers need a moment for an element that has just been made.
 * @param {any} element
 * @param {number} wait
 * @returns {Promise<Way>}
 */
function findWay(element, wait) {
  const deadline = Date.now() + wait;
  return new Promise((resolve, reject) => {
    (function look() {
      const way = wayTo(element);
      if (way) {
        resolve(way);
      } else if (Date.now() < deadline) {
        setTimeout(look, 20);
      } else {
        reject(missingAt(element));
      }
    })();
  });
}

/** @param {string} relative */
function absoluteAddress(relative) {
  const link = document.createElement('a');
  link.href = relative;
  return link.href;
}

/**
 * @param {any} parameters
 * @param {Element} [parent]
 */
function makeElement(parameters, parent) {
  const element = document.createElement('embed');
  const unseen = { width: 1, height: 1, style: 'position: absolute' };
  const attributes = Object.assign({}, parameters.dropMode ? { width: 300, height: 80 } : unseen, parameters);
  attributes.type = kType;
  if (attributes.image) {
    attributes.image = absoluteAddress(attributes.image);
  }
  Object.keys(attributes).filter((name) => attributes[name] !== undefined).forEach((name) => {
    element.setAttribute(name.replace(/[A-Z]/g, (letter) => '-' + letter.toLowerCase()), attributes[name]);
  });
  (parent || document.body).appendChild(element);
  return element;
}

/**
 * @param {any} element
 * @param {number} wait
 * @param {() => void} onEnd
 * @returns {Promise<any>}
 */
function connectTo(element, wait, onEnd) {
  return findWay(element, wait)
    .then((way) => way.call('queryVersion')
      .then((version) => {
        const connection = new PluginConnection(element, way, version, onEnd);
        return connection.listen().then(() => connection);
      }))
    .catch((error) => {
      onEnd();
      throw asOurs(error, 'missing');
    });
}

/**
 * @param {any} [target]
 * @param {ConnectOptions} [options]
 * @returns {Promise<Connection>}
 */
export function connect(target, options) {
  const { signal, parent, wait = 1000 } = options || {};
  const given = target === undefined ? {} : target;
  if (given === null || typeof given !== 'object' && typeof given !== 'function') {
    return Promise.reject(new OrvaneWebError('refused', 'connect() takes an element, or parameters for one.'));
  }
  if (signal && signal.aborted) {
    return Promise.reject(aborted(signal));
  }
  const isElement = given.nodeType === 1 || wayTo(given) !== null;
  if (!isElement && !parent && !document.body) {
    return Promise.reject(new OrvaneWebError('refused', 'The document has no body yet to put an element into.'));
  }
  const element = isElement ? given : makeElement(given, parent);
  const onEnd = () => {
    kConnections.delete(element);
    if (!isElement && element.parentNode) {
      element.parentNode.removeChild(element);
    }
  };
  const connecting = kConnections.get(element) || connectTo(element, wait, onEnd);
  kConnections.set(element, connecting);
  return stoppable(new Set(), signal, () => connecting).catch((error) => {
    if (!isElement) {
      connecting.then((connection) => connection.close(), () => {});
      onEnd();
    }
    throw error;
  });
}
