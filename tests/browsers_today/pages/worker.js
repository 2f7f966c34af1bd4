// Beside a page: tells it which requests it has seen.
const seen = [];
onactivate = (event) => event.waitUntil(clients.claim());
onfetch = (event) => seen.push(event.request.url);
onmessage = (event) => event.source.postMessage(seen);
