// What every test page shares. A page ends with done(), whose number is what the host program exits
// with: 0 when there were checks and all of them held.

var checks = { made: 0, failed: 0 };
// With "?report=yes", what was seen is said as well.
var reporting = argument('report') !== '';

function say(text) {
  console.log(text);
}

// `seen` as far as JSON can say it.
function report(seen, text) {
  if (reporting) {
    say('seen: ' + text + ': ' + JSON.stringify(seen));
  }
}

function check(condition, text) {
  checks.made += 1;
  if (!condition) {
    checks.failed += 1;
    say('FAILED: ' + text);
  }
}

function same(actual, expected, text) {
  report(actual, text);
  check(actual === expected,
        text + ': ' + JSON.stringify(actual) + ' instead of ' + JSON.stringify(expected));
}

function done() {
  say(checks.made + ' checks, ' + checks.failed + ' failed');
  say('PAGE DONE ' + (checks.made > 0 ? Math.min(checks.failed, 100) : 101));
}

// What the engine makes of a call that the plugin refuses.
function refused(call, text) {
  try {
    call();
  } catch (error) {
    same(String(error), 'Error: Error calling method on NPObject.', text);
    return;
  }
  check(false, text + ' was not refused');
}

// The text of the error document that a call answered; empty for any other answer.
function errorText(answer) {
  var document_ = typeof answer === 'string' && answer.charAt(0) === '{' ? JSON.parse(answer) : {};
  return document_.error ? document_.error.user_message : '';
}

function createPlugin(parameters) {
  var element = document.createElement('embed');
  element.setAttribute('type', 'application/x-orvane-web');
  element.setAttribute('width', '200');
  element.setAttribute('height', '60');
  Object.keys(parameters || {}).forEach(function(name) {
    element.setAttribute(name, parameters[name]);
  });
  document.body.appendChild(element);
  return element;
}

function removePlugin(element) {
  element.parentNode.removeChild(element);
}

// The value of a parameter in the page's address, "?name=value&...".
function argument(name) {
  var found = new RegExp('[?&]' + name + '=([^&]*)').exec(location.search);
  return found ? decodeURIComponent(found[1]) : '';
}

// Calls `then` once the condition holds; the host program's time limit stands behind it.
function waitUntil(condition, then) {
  if (condition()) {
    then();
  } else {
    setTimeout(function() { waitUntil(condition, then); }, 10);
  }
}

window.onerror = function(message, source, line) {
  if (String(message).indexOf('meant to be thrown') < 0) {
    checks.made += 1;
    checks.failed += 1;
    say('FAILED: ' + message + ' (' + source + ':' + line + ')');
    done();
  }
};
