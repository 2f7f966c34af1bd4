// Stands behind checks.js: in today's browsers, what a page says goes to the test's server, and a page
// whose last word is said makes place for the next one.
(function() {
  if (!window.fetch) {
    return;  // an engine of the plugin's time
  }
  var send = window.fetch.bind(window);
  var page = Math.random().toString(36).slice(2);
  var lines = 0;

  function goOn() {
    location.replace('/idle.html');
  }

  // Calls `then`, whose exceptions are reported, when the test says so.
  window.whenTold = function(then) {
    send('/go').then(function() { setTimeout(then, 0); });
  };

  // Numbered, since they may overtake each other. Answers a promise: what is said right before a call that
  // waits may else stay in the browser.
  say = function(text) {
    lines += 1;
    var address = '/said?page=' + page + '&line=' + lines;
    var isLast = String(text).indexOf('PAGE DONE ') === 0 && window === window.parent;
    if (window.saysByPictures) {
      var picture = new Image();
      picture.onload = picture.onerror = isLast ? goOn : null;
      picture.src = address + '&text=' + encodeURIComponent(text);
    } else {
      return send(address, { method: 'POST', body: text }).then(isLast ? goOn : null);
    }
  };
})();
