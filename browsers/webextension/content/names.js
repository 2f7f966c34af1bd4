'use strict';

/** What the page sees on an element of ours, and nothing else is passed on. */
const memberNames = {
  methods: [
    'addToDownloadList',
    'addToUploadList',
    'clearDownloadList',
    'clearUploadList',
    'displayAboutWindow',
    'displayPreferencesWindow',
    'displayTransferManager',
    'handleDrop',
    'initSession',
    'pellionHttpRequest',
    'pellionHttpRequestAsync',
    'queryBrowserEngine',
    'queryBuildVersion',
    'queryPellionVersion',
    'queryPluginVersion',
    'queryVersion',
    'runOpenFileDialog',
    'runOpenFileDialogAsync',
    'runOpenFolderDialog',
    'runOpenFolderDialogAsync',
    'runSaveFileDialog',
    'runSaveFileDialogAsync',
    'startDownload',
    'startDownloadToPath',
    'startListDownloadToPath',
    'startListUploadToURL',
    'startUploadToURL',
  ],
  properties: ['dropObserver', 'eventHandler', 'name'],
};

/** Which gives content scripts functions of its own. */
const isFirefox = /** @type {any} */ (globalThis).exportFunction instanceof Function;

/**
 * What the browser offers extensions. Firefox makes it when it is first asked for, which takes longer than all else
 * that a page without an element pays.
 * @type {Pick<typeof chrome, 'i18n' | 'runtime'>}
 */
const extension = !isFirefox ? chrome : {
  get i18n() {
    return /** @type {any} */ (globalThis).browser.i18n;
  },
  get runtime() {
    return /** @type {any} */ (globalThis).browser.runtime;
  },
};

/**
 * A text for the user. In Chromium an extension that is updated or switched off leaves its scripts in pages, and takes
 * its texts.
 * @param {string} name
 */
function textFor(name) {
  try {
    return extension.i18n.getMessage(name);
  } catch {
    return 'Orvane Web';
  }
}

/**
 * Whether the document is a file whose origin a sandbox has taken. The browser's word of where it is from does not
 * tell in Firefox, which gives no file an origin; cookies are refused to no other file.
 */
function isSandboxedFile() {
  try {
    return location.protocol === 'file:' && typeof Reflect.get(Document.prototype, 'cookie', document) !== 'string';
  } catch {
    return true;
  }
}

const sentences = {
  updated: 'Orvane Web: the extension has been updated or switched off. Reload the page.',
  hostGone: 'Orvane Web: the program beside the browser has ended. Reload the page.',
  tooLarge: 'Orvane Web: the arguments of a call are larger than 16 MiB.',
  forbidden:
    'Orvane Web: this page forbids synchronous requests (its Content-Security-Policy or Permissions-Policy).' +
    ' Use the methods that end in Async.',
};
