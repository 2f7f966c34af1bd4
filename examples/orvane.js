// What every page of these examples needs. A page has an element "missing", which is hidden, and an element
// "page" around all that is of no use without the plugin.

// Says why there is no plugin, and hides the rest of the page.
function pluginIsMissing(element) {
  if (typeof element.queryVersion === 'function') {
    return false;
  }
  const listed = navigator.mimeTypes && navigator.mimeTypes['application/x-orvane-web'];
  const missing = document.getElementById('missing');
  missing.textContent = listed
    ? 'The Orvane Web plugin is installed, but this browser did not start it. Are plugins allowed here?'
    : 'The Orvane Web plugin is missing. Put nporvaneweb.so into ~/.mozilla/plugins, start the browser anew and ' +
      'load this page again. The browser must support NPAPI plugins.';
  missing.hidden = false;
  document.getElementById('page').hidden = true;
  return true;
}

// Error documents carry their message unescaped, so a text that is not JSON is an error as well.
function answerOf(text) {
  try {
    return JSON.parse(text);
  } catch (e) {
    return { error: { code: -1, user_message: text } };
  }
}
