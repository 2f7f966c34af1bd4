// What a user does on each of the example pages, and has to see there. A line that begins with "user: "
// tells the hands at the screen what to do next.

function byId(id) {
  return document.getElementById(id);
}

// Each step is what to do, and what must come of it.
function run(steps) {
  var step = steps.shift();
  if (!step) {
    say('user: done');
    done();
    return;
  }
  say('Steps after this one: ' + steps.length);
  step[0]();
  waitUntil(step[1], function() {
    check(true);
    run(steps);
  });
}

// Presses the left button over what the selector names; `then` is done afterwards.
function press(selector, then) {
  return function() {
    var target = document.querySelector(selector);
    target.scrollIntoView();
    var at = target.getBoundingClientRect();
    say('user: click ' + Math.round(at.left + at.width / 2) + ' ' + Math.round(at.top + at.height / 2));
    if (then) {
      say('user: ' + then);
    }
  };
}

function fill(id, text) {
  return [press('#' + id, 'type ' + text), function() { return byId(id).value === text; }];
}

function look() {
}

function shows(id, text) {
  return function() { return byId(id).textContent.indexOf(text) >= 0; };
}

// As the last of the lines that the page has said.
function says(text) {
  return function() {
    var lines = byId('said').textContent.split('\n');
    return (lines[lines.length - 2] || '').indexOf(text) === 0;
  };
}

function transfer(i, lowest, highest, text) {
  return function() {
    var bar = document.getElementsByTagName('progress')[i];
    return bar && bar.value >= lowest && bar.value <= highest && bar.parentNode.textContent.indexOf(text) >= 0;
  };
}

function area(id) {
  return function() {
    return byId(id).firstChild && typeof byId(id).firstChild.queryVersion === 'function';
  };
}

var file = argument('file');
var folder = argument('folder');
var source = argument('source');
var target = argument('target');
var kNotGranted = 'Not started: The website attempted to transfer to an unauthorized directory: ';

var pages = {
  'first.html': [
    [look, shows('lines', '{"app_id":"my-app"}')],
    fill('source', source),
    [press('#download'), transfer(0, 100, 100, '')],
    [look, shows('lines', 'completed /')],
  ],
  'session.html': [
    [look, shows('versions', 'Plugin 3.1 (build 3.1.1.70486)\nOrvane Pellion 3.2.0')],
    [press('#session button'), says('The session: {"app_id":"my-app"}')],
    [press('#session button'), says('The session failed: Session was already initialized')],
    [press('#request button'), says('GET /v4/pellion/version: {"product":"Orvane Pellion"')],
    fill('body', '{}{'),
    [press('#request button'), shows('said', 'GET /v4/pellion/version failed: {"error":')],
  ],
  'transfers.html': [
    [press('#download button'), shows('state', 'Please fill in the address.')],
    fill('source', source),
    [press('#download button'), transfer(0, 1, 99, '/s')],
    [look, transfer(0, 100, 100, 'completed')],
    fill('target', target),
    [press('#upload button', 'choose Files to upload|' + file), transfer(1, 100, 100, 'completed')],
  ],
  'dialogs.html': [
    [press('#open', 'choose Pictures|' + file), says('Chosen: ' + file)],
    fill('source', source),
    [press('#folder', 'choose A folder|' + folder), says('Chosen: ' + folder)],
    [press('#download button'), says('The download to ' + folder + ' has started.')],
    [press('#download button'), says(kNotGranted + folder)],
    [press('#save', 'cancel Save it'), says('Cancelled.')],
    [press('#openNow', 'choose Open|' + file), says('Chosen: ' + file)],
    [press('#folderNow', 'cancel Select Folder'), says('Cancelled.')],
    [press('#saveNow', 'choose Save As|' + target), says('Chosen: ' + target)],
    [press('#download button'), says('The download to ' + target + ' has started.')],
  ],
  // The engine never shows the areas themselves.
  'drop-zone.html': [
    [look, says('Ready.')],
    [look, area('callbackArea')],
    [press('#make button'), says('Please fill in the address.')],
    fill('target', target),
    [press('#make button'), says('What you drop on the second area goes to ' + target)],
    [look, area('uploadArea')],
    [function() { say('user: await NPP_Write()'); fill('target', 'the end')[0](); },
     function() { return byId('target').value === 'the end'; }],
  ],
};

run(argument('missing') ? [[look, shows('missing', argument('missing'))],
                           [look, function() { return byId('missing').offsetHeight > 0; }],
                           [look, function() { return byId('page').offsetHeight === 0; }]]
                        : pages[/[^\/]*$/.exec(location.pathname)[0]]);
