#!/usr/bin/env python3
"""Measures the extension and its host program in today's browsers, and sets the rows into one table.

usage: browser_report.py [--quick] [--only BROWSER] BUILD [PAGE]

BUILD is the tree where everything is built. With PAGE, the table replaces what stands there between two
marks. With --quick every row runs once, and nothing is judged by time. The exit code is 1 when a row has
no measurements.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import time
import zipfile

sys.dont_write_bytecode = True
# pylint: disable=wrong-import-position
from browser_rows import SIZE_ROWS, rows_of
from browsers.rounds import QUICK, WHOLE, Rounds
from browsers.stage import TOP, Stage
from report import machine, markdown, table_line, write_page

BROWSERS = ('firefox', 'chromium')
COMMANDS = {'firefox': 'firefox-esr', 'chromium': 'chromium'}


def sizes(build):
    """Bytes of what is installed."""
    files = [file for file in (TOP / 'browsers/webextension').rglob('*') if file.is_file()]
    with tempfile.TemporaryFile() as package:
        with zipfile.ZipFile(package, 'w', zipfile.ZIP_DEFLATED) as archive:
            for file in files:
                archive.write(file, file.relative_to(TOP / 'browsers/webextension'))
        packed = package.tell()
    return {'size': [{'packed': packed, 'unpacked': sum(file.stat().st_size for file in files),
                      'host': (build / 'tools/web_host/orvane-web-host').stat().st_size,
                      'module': (build / 'browsers/npapi_linux/nporvaneweb.so').stat().st_size}]}


def measure(browser, build, plan):
    print(f'{browser} ...', file=sys.stderr, flush=True)
    start = time.monotonic()
    stage = Stage(browser, build)
    try:
        measured = Rounds(stage, plan).run()
    finally:
        stage.close()
    print(f'{browser}: {time.monotonic() - start:.0f} s', file=sys.stderr, flush=True)
    return measured


def versions(browsers):
    said = [subprocess.run([COMMANDS[browser], '--version'], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True,
                           env=dict(os.environ, HOME='/nonexistent'), check=True).stdout for browser in browsers]
    return ', '.join(' '.join(text.split()[:3]) for text in said)


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--only', choices=BROWSERS)
    parser.add_argument('build')
    parser.add_argument('page', nargs='?')
    arguments = parser.parse_args()
    if arguments.page and (arguments.quick or arguments.only):
        parser.error('a page takes the whole table')
    build = pathlib.Path(arguments.build).resolve()
    browsers = [arguments.only] if arguments.only else BROWSERS
    measured = sizes(build)
    for browser in browsers:
        measured.update(measure(browser, build, QUICK if arguments.quick else WHOLE))
    rows = [row for browser in browsers for row in rows_of(browser)] + SIZE_ROWS
    table = markdown([table_line(row, measured) for row in rows])
    print(f'{len(rows)} rows ran' if arguments.quick else table)
    if arguments.page:
        write_page(arguments.page, f'{machine()} {versions(browsers)}.', table, 'scripts/bench --browsers')


if __name__ == '__main__':
    main()
