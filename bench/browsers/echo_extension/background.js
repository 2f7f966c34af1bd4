'use strict';

{
  /** @type {typeof chrome} */
  const extension = /** @type {any} */ (globalThis).browser ?? chrome;

  extension.runtime.onConnect.addListener((port) => {
    const host = extension.runtime.connectNative('example.orvane.echo_host');
    port.onMessage.addListener((message) => host.postMessage(message));
    host.onMessage.addListener((message) => port.postMessage(message));
    port.onDisconnect.addListener(() => host.disconnect());
  });
}
