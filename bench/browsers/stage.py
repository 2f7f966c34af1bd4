"""A browser on a display of its own, with the extension, the echo beside it, an application that answers
at once, and a server whose pages do what they are told."""

import contextlib
import hashlib
import base64
import http.server
import json
import os
import pathlib
import queue
import shutil
import subprocess
import tempfile
import threading
import zipfile

HERE = pathlib.Path(__file__).resolve().parent
TOP = HERE.parent.parent
ECHO_HOST = 'example.orvane.echo_host'
LONGEST_ANSWER = 180  # seconds
ELEMENTS = 5000


def page_of_many_elements():
    """A table with text, as long lists on pages are."""
    rows = ''.join(f'<tr id="row{i}"><td><a href="#row{i}">entry {i}</a><td class="size">{i * 37} B'
                   for i in range(ELEMENTS // 4))
    return (f'<!DOCTYPE html><title>Many elements</title><body><table>{rows}</table>'
            '<script src="/bench.js"></script>').encode()


class Pages:
    """Serves the pages to one browser, and passes orders to the page on show and its answers back."""

    def __init__(self):
        self.forget()
        self.many = page_of_many_elements()
        pages = self

        class Handler(http.server.BaseHTTPRequestHandler):
            protocol_version = 'HTTP/1.1'

            def do_GET(self):  # pylint: disable=invalid-name
                name = self.path.rpartition('/')[2]
                file = HERE / 'pages' / name
                if name == 'order':
                    self.reply(json.dumps(pages.orders.get()).encode(), 'application/json')
                elif name == 'many.html':
                    self.reply(pages.many, 'text/html')
                elif file.suffix in ('.html', '.js') and file.is_file():
                    self.reply(file.read_bytes(), 'text/html' if file.suffix == '.html' else 'text/javascript')
                else:
                    self.send_error(404)

            def do_POST(self):  # pylint: disable=invalid-name
                pages.answers.put(json.loads(self.rfile.read(int(self.headers['Content-Length']))))
                self.reply(b'', 'text/plain')

            def reply(self, body, kind):
                self.send_response(200)
                self.send_header('Content-Type', f'{kind}; charset=utf-8')
                self.send_header('Content-Length', str(len(body)))
                self.send_header('Cache-Control', 'no-store')
                self.end_headers()
                self.wfile.write(body)

            def log_message(self, *_):  # pylint: disable=arguments-differ
                pass

        self.server = http.server.ThreadingHTTPServer(('127.0.0.1', 0), Handler)
        self.server.daemon_threads = True
        self.origin = f'http://127.0.0.1:{self.server.server_port}'
        threading.Thread(target=self.server.serve_forever, daemon=True).start()

    def forget(self):
        """Whatever a browser that has ended still asks or said."""
        self.orders = queue.Queue()
        self.answers = queue.Queue()

    def close(self):
        self.server.shutdown()
        self.server.server_close()

    def answer(self, timeout=LONGEST_ANSWER):
        answer = self.answers.get(timeout=timeout)
        if 'error' in answer:
            raise RuntimeError(answer['error'])
        return answer['value']


def start_display():
    """An X server of our own, and DISPLAY's value for it."""
    read_end, write_end = os.pipe()
    server = subprocess.Popen(['Xvfb', '-displayfd', str(write_end), '-screen', '0', '1280x1024x24', '-nolisten', 'tcp'],
                              pass_fds=[write_end], stderr=subprocess.DEVNULL)
    os.close(write_end)
    with os.fdopen(read_end, encoding='ascii') as pipe:
        number = pipe.readline().strip()
    if not number:
        raise RuntimeError('Xvfb does not start')
    return server, f':{number}'


def end(process):
    process.terminate()
    try:
        process.wait(30)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait()


def chromium_id(directory):
    """What the browser makes of the manifest's key."""
    key = json.loads((directory / 'manifest.json').read_text(encoding='utf-8'))['key']
    digest = hashlib.sha256(base64.b64decode(key)).hexdigest()[:32]
    return digest.translate(str.maketrans('0123456789abcdef', 'abcdefghijklmnop'))


class Stage:
    """All of it, from the making until `close`."""

    def __init__(self, browser, build):
        self.browser = browser
        self.build = pathlib.Path(build).resolve()
        with contextlib.ExitStack() as stack:
            self.home = pathlib.Path(tempfile.mkdtemp(prefix='orvane-bench-'))
            stack.callback(shutil.rmtree, self.home, ignore_errors=True)
            self.pages = Pages()
            stack.callback(self.pages.close)
            display, self.display = start_display()
            stack.callback(end, display)
            self.environment = dict(os.environ, HOME=str(self.home), DISPLAY=self.display, NO_AT_BRIDGE='1',
                                    XDG_RUNTIME_DIR=str(self.home), DBUS_SESSION_BUS_ADDRESS='disabled:')
            self.environment.pop('WAYLAND_DISPLAY', None)
            self.prepare_home()
            self.application = self.start_application()
            stack.callback(self.end_application)
            self.session = 0
            self.start_browser(stack)
            self.closing = stack.pop_all()

    def close(self):
        self.closing.close()

    def prepare_home(self):
        sites = self.home / '.config/orvane-web/sites'
        sites.parent.mkdir(parents=True)
        sites.write_text(f'allow {self.pages.origin}\n', encoding='utf-8')
        for directory in ('run', 'log'):  # as users have it
            (self.home / '.orvane/pellion/var' / directory).mkdir(parents=True)
        profile = self.home / '.orvane-browser' / self.browser
        profile.mkdir(parents=True)
        self.extension = self.copy_extension()
        echo = self.home / 'echo_extension'
        shutil.copytree(HERE / 'echo_extension', echo)
        self.environment.update(ORVANE_BROWSER_AS_BUILT=str(self.build), ORVANE_BROWSER_EXTENSION=str(self.extension))
        if self.browser == 'firefox':
            (profile / 'prefs.js').write_text("user_pref('privacy.reduceTimerPrecision', false);\n", encoding='utf-8')
            (profile / 'extensions').mkdir()
            with zipfile.ZipFile(profile / 'extensions/echo@orvane.example.xpi', 'w') as package:
                for file in echo.iterdir():
                    package.write(file, file.name)
            self.write_host_manifest(self.home / '.mozilla/native-messaging-hosts', 'allowed_extensions',
                                     'echo@orvane.example')
        else:
            self.environment['ORVANE_BROWSER_FURTHER_EXTENSION'] = str(echo)
            self.write_host_manifest(profile / 'NativeMessagingHosts', 'allowed_origins',
                                     f'chrome-extension://{chromium_id(echo)}/')

    def copy_extension(self):
        """The extension as it is, but for pages below /without/ it is not there."""
        copy = self.home / 'extension'
        shutil.copytree(TOP / 'browsers/webextension', copy)
        manifest = json.loads((copy / 'manifest.json').read_text(encoding='utf-8'))
        for scripts in manifest['content_scripts']:
            scripts['exclude_matches'] = ['*://*/without/*']
        (copy / 'manifest.json').write_text(json.dumps(manifest, indent=2), encoding='utf-8')
        return copy

    def write_host_manifest(self, directory, who, name):
        directory.mkdir(parents=True)
        (directory / f'{ECHO_HOST}.json').write_text(json.dumps({
            'name': ECHO_HOST, 'description': 'Echo', 'type': 'stdio', who: [name],
            'path': str(self.build / 'bench/echo_host')}), encoding='utf-8')

    def start_application(self):
        application = subprocess.Popen([self.build / 'bench/answering_application'], env=self.environment,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        if application.stdout.readline() != 'ready\n':
            raise RuntimeError('the application does not start')
        return application

    def application_port(self):
        address = (self.home / '.orvane/pellion/var/run/http.uri').read_text(encoding='utf-8')
        return int(address.rpartition(':')[2].rstrip('/'))

    def end_application(self):
        self.application.stdin.close()
        self.application.wait(30)

    def start_browser(self, stack):
        """Chromium sometimes starts and never asks for its page, with or without the extension."""
        with open(self.home / 'browser.log', 'w', encoding='utf-8') as log:
            for _ in range(3):
                script = subprocess.Popen([TOP / 'scripts/browser', self.browser, '--home', self.home,
                                           f'{self.pages.origin}/echo/calls.html'], env=self.environment,
                                          stdout=log, stderr=log, start_new_session=True)
                try:
                    self.pages.answer(60)
                except queue.Empty:
                    end(script)
                    self.pages.forget()
                    continue
                self.session = script.pid
                stack.callback(end, script)
                return
        raise RuntimeError('the browser never asked for its page:\n'
                           + (self.home / 'browser.log').read_text(encoding='utf-8', errors='replace'))

    def order(self, name, *arguments):
        """What the page on show answers."""
        self.begin(name, *arguments)
        return self.pages.answer()

    def begin(self, name, *arguments):
        self.pages.orders.put({'name': name, 'args': arguments})

    def go(self, page):
        """The next page; answers the milliseconds of its load."""
        return self.order('go', f'{self.pages.origin}/{page}')
