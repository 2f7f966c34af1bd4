"""Does in a running browser what no page and no key can: remote.py firefox|chromium PROFILE ACTION.

Prints the action's result as one line of JSON. Firefox is spoken to by its port for test programs,
Chromium by the pipes PROFILE/remote.in and PROFILE/remote.out, which it has as descriptors 3 and 4.
"""

import base64
import hashlib
import json
import re
import socket
import sys
import zipfile

ADDON = 'orvane-web@orvane.example'

# Each is the body of a function of the browser itself.
FIREFOX = {
    'discard': 'gBrowser.tabs.filter((tab) => !tab.selected).forEach((tab) => gBrowser.discardBrowser(tab, true));',
    'select': 'gBrowser.selectedTab = gBrowser.tabs.find((tab) => !tab.selected);',
    'duplicate': 'gBrowser.duplicateTab(gBrowser.selectedTab);',
    'disable': 'await addon.disable();',
    'enable': 'await addon.enable();',
    'reload': 'await addon.reload();',
    'update': 'await (await AddonManager.getInstallForFile(new FileUtils.File(PACKAGE))).install();',
    'sleep': 'await policy.extension.terminateBackground({ disableResetIdleForTest: true });',
    'isAsleep': 'return policy.extension.backgroundState === "stopped";',
    # What the scripts of the extension's process and of the page's hold. Requests that are held leave no trace.
    'levels': '''
        const kib = { extension: 0, web: 0 };
        let silent = Services.ppmm.childCount;
        await new Promise((resolve) => {
          Services.ppmm.addMessageListener('kib', ({ data: [process, size] }) => {
            kib[process] += size;
            if (--silent === 0) {
              resolve();
            }
          });
          setTimeout(resolve, 10000);  // a process may have ended meanwhile
          Services.ppmm.loadProcessScript('data:,' + encodeURIComponent(`
            const process = /^(extension|web)?/.exec(Services.appinfo.remoteType)[0];
            for (let i = 0; process && i < 3; ++i) {
              Cu.forceGC();
              Cu.forceCC();
            }
            sendAsyncMessage('kib', [process, Cu.getJSTestingFunctions().gcparam('gcBytes') >> 10]);
          `), false);
        });
        return [0, kib.extension, kib.web];''',
}
FIREFOX_BEGINNING = '''
const { AddonManager } = ChromeUtils.importESModule('resource://gre/modules/AddonManager.sys.mjs');
const { FileUtils } = ChromeUtils.importESModule('resource://gre/modules/FileUtils.sys.mjs');
const policy = WebExtensionPolicy.getByID(ID);
const addon = await AddonManager.getAddonByID(ID);
const { gBrowser } = Services.wm.getMostRecentWindow('navigator:browser');
'''

# The first three are asked in a page of the browser's, the others in one of the extension's.
CHROMIUM = {
    'disable': 'await chrome.management.setEnabled(ID, false);',
    'enable': 'await chrome.management.setEnabled(ID, true);',
    'reload': 'await chrome.developerPrivate.reload(ID, { failQuietly: true });',
    'discard': 'await chrome.tabs.discard((await pages(false))[0]);',
    'select': 'await chrome.tabs.update((await pages(false))[0], { active: true });',
    'duplicate': 'await chrome.tabs.duplicate((await pages(true))[0]);',
    'levels': 'return (await chrome.declarativeNetRequest.getSessionRules()).length;',
}
CHROMIUM_BEGINNING = '''
// Extensions from a directory are for developers, who say so.
await chrome.developerPrivate?.updateProfileConfiguration({ inDeveloperMode: true });
const pages = async (active) =>
  (await chrome.tabs.query({ active })).filter(({ url }) => url?.startsWith('http')).map(({ id }) => id);
'''


def function(names, beginning, body):
    constants = ''.join(f'const {name} = {json.dumps(value)};' for name, value in names.items())
    return f'(async () => {{ {constants}{beginning}{body} }})()'


def newer(manifest):
    return re.sub(r'("version": "[^"]*)"', r'\1.1"', manifest, count=1)


def firefox(profile, action):
    with open(profile + '/MarionetteActivePort', encoding='ascii') as file:
        stream = socket.create_connection(('127.0.0.1', int(file.read()))).makefile('rwb')

    def read():
        length = b''
        while not length.endswith(b':'):
            length += stream.read(1)
        return json.loads(stream.read(int(length[:-1])))

    def ask(name, **parameters):
        text = json.dumps([0, 1, name, parameters]).encode()
        stream.write(b'%d:%s' % (len(text), text))
        stream.flush()
        _, _, error, result = read()
        if error:
            sys.exit(str(error))
        return result

    package = profile + '/newer.xpi'
    if action == 'update':
        with zipfile.ZipFile(f'{profile}/extensions/{ADDON}.xpi') as old, zipfile.ZipFile(package, 'w') as new:
            for name in old.namelist():
                text = old.read(name)
                new.writestr(name, newer(text.decode()) if name == 'manifest.json' else text)
    read()  # its greeting
    ask('WebDriver:NewSession')
    ask('Marionette:SetContext', value='chrome')
    script = function({'ID': ADDON, 'PACKAGE': package}, FIREFOX_BEGINNING, FIREFOX[action])
    value = ask('WebDriver:ExecuteScript', script='return ' + script, args=[])['value']
    ask('WebDriver:DeleteSession')
    return value


def chromium(profile, action):
    manifest = profile + '/extension/manifest.json'
    with open(manifest, encoding='utf-8') as file:
        text = file.read()
    digits = hashlib.sha256(base64.b64decode(json.loads(text)['key'])).hexdigest()[:32]
    extension = digits.translate(str.maketrans('0123456789abcdef', 'abcdefghijklmnop'))
    if action == 'update':
        with open(manifest, 'w', encoding='utf-8') as file:
            file.write(newer(text))
        action = 'reload'
    asked = 0
    with open(profile + '/remote.in', 'wb', buffering=0) as to, \
            open(profile + '/remote.out', 'rb', buffering=0) as back:

        def ask(name, session=None, **parameters):
            nonlocal asked
            asked += 1
            message = {'id': asked, 'method': name, 'params': parameters}
            to.write(json.dumps({**message, 'sessionId': session} if session else message).encode() + b'\0')
            while True:
                text = b''
                while not text.endswith(b'\0'):
                    text += back.read(1)
                heard = json.loads(text[:-1])
                if heard.get('id') == asked:
                    return heard['result'] if 'result' in heard else sys.exit(str(heard))

        workers = [each for each in ask('Target.getTargets')['targetInfos'] if each['type'] == 'service_worker']
        if action == 'isAsleep':
            return not workers

        def kib(worker):
            session = ask('Target.attachToTarget', targetId=worker['targetId'], flatten=True)['sessionId']
            ask('HeapProfiler.collectGarbage', session)
            size = ask('Runtime.getHeapUsage', session)['usedSize']
            ask('Target.detachFromTarget', sessionId=session)
            return int(size) >> 10

        of_browser = action in list(CHROMIUM)[:3]
        page = 'chrome://extensions/' if of_browser else f'chrome-extension://{extension}/manifest.json'
        target = ask('Target.createTarget', url=page, hidden=True)['targetId']
        session = ask('Target.attachToTarget', targetId=target, flatten=True)['sessionId']

        def evaluate(expression):
            answer = ask('Runtime.evaluate', session, expression=expression, awaitPromise=True, returnByValue=True)
            return sys.exit(str(answer)) if 'exceptionDetails' in answer else answer['result'].get('value')

        while evaluate('location.href + document.readyState') != page + 'complete':
            pass
        value = None
        if action == 'sleep':
            ask('ServiceWorker.enable', session)
            ask('ServiceWorker.stopAllWorkers', session)
        else:
            value = evaluate(function({'ID': extension}, CHROMIUM_BEGINNING, CHROMIUM[action]))
        ask('Target.closeTarget', targetId=target)
        # A background that sleeps holds nothing; pages are full of what Chromium keeps by itself.
        return [value, sum(map(kib, workers)), 0] if action == 'levels' else value


print(json.dumps({'firefox': firefox, 'chromium': chromium}[sys.argv[1]](*sys.argv[2:])))
