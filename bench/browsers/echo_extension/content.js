'use strict';

// Passes a text of the page on, and what comes back. The port, and with it a host, begins with the first.
{
  /** @type {typeof chrome} */
  const extension = /** @type {any} */ (globalThis).browser ?? chrome;
  /** @type {chrome.runtime.Port | undefined} */
  let port;

  function connect() {
    const made = extension.runtime.connect();
    made.onMessage.addListener((message) => {
      document.dispatchEvent(new CustomEvent('echo:back', { detail: JSON.stringify(message) }));
    });
    return made;
  }

  document.addEventListener('echo:there', (event) => {
    port ??= connect();
    port.postMessage(JSON.parse(/** @type {CustomEvent} */ (event).detail));
  });
}
