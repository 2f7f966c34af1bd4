"""Prints the fault tables from the results of test runs: fault_table.py RESULTS.xml ...

Each test prints its rows itself; one that ended before that is told by its name and output.
"""

import sys
import xml.etree.ElementTree as xml

# By the word that a row begins with; the third column is the verdict on the row's test.
HEADINGS = {
    'fault-row': ['what goes wrong', 'what the page gets', '', 'heap KiB', 'peak MiB', 'descriptors', 'threads',
                  'children', 'what the log says'],
    'browser-row': ['what goes wrong', 'what the page gets', '', 'browser', 'programs', 'files', 'rules',
                    'descriptors', "extension's KiB"],
}


def verdict(case):
    skipped = case.find('skipped') is not None
    return 'pass' if case.get('status') == 'run' else 'skip' if skipped else 'FAIL'


def read_rows(case):
    """The rows of one test, each after its kind."""
    result = verdict(case)
    rows = []
    for line in (case.findtext('system-out') or '').splitlines():
        kind, *cells = line.split('\t')
        if kind in HEADINGS:
            cells = [cell.replace('>', ' -> ') if i > 2 else cell for i, cell in enumerate(cells)]
            fault, outcome, third, *rest = cells
            rows.append([kind, fault, outcome, result, *(
                [*rest, third] if kind == 'fault-row' else [third, *rest])])
    if not rows:
        kind = 'browser-row' if 'Browsers/' in case.get('name') else 'fault-row'
        result = 'FAIL' if result == 'pass' else result
        rows.append([kind, case.get('name'), '(nothing)', result] + [''] * (len(HEADINGS[kind]) - 3))
    return rows


def print_table(headings, rows):
    widths = [max(len(row[i]) for row in [headings] + rows) for i in range(len(headings))]
    for row in [headings] + rows:
        print(' | '.join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())
    print()


def main():
    cases = sorted((case for file in sys.argv[1:] for case in xml.parse(file).getroot().iter('testcase')),
                   key=lambda case: case.get('name'))
    rows = [row for case in cases for row in read_rows(case)]
    for kind, headings in HEADINGS.items():
        of_kind = [row[1:] for row in rows if row[0] == kind]
        if of_kind:
            print_table(headings, of_kind)
    for case in cases:
        if verdict(case) == 'FAIL':
            print(f"{case.get('name')}:\n{case.findtext('system-out') or ''}\n")
    failed = [row for row in rows if row[3] not in ('pass', 'skip')]
    print(f'{len(rows)} rows, {len(rows) - len(failed)} passed or skipped, {len(failed)} failed')
    return 1 if failed or not rows else 0


sys.exit(main())
