"""Prints the fault table from the results of a test run: fault_table.py RESULTS.xml

Each test prints its row itself; one that ended before that is told by its name and output.
"""

import sys
import xml.etree.ElementTree as xml

HEADINGS = ['what goes wrong', 'what the page gets', '', 'heap KiB', 'peak MiB', 'descriptors',
            'threads', 'children', 'what the log says']


def read_row(case):
    """The table's row of one test, and its output when it did not pass."""
    output = case.findtext('system-out') or ''
    skipped = case.find('skipped') is not None
    result = 'pass' if case.get('status') == 'run' else 'skip' if skipped else 'FAIL'
    for line in output.splitlines():
        if line.startswith('fault-row\t'):
            fault, outcome, log, *levels = line.split('\t')[1:]
            heap, peak, *rest = [level.replace('>', ' -> ') for level in levels]
            return [fault, outcome, result, heap, peak, *rest, log], output
    return [case.get('name'), '(nothing)', 'FAIL' if result == 'pass' else result, '', '', '', '',
            '', ''], output


def main():
    cases = sorted(xml.parse(sys.argv[1]).getroot().iter('testcase'), key=lambda c: c.get('name'))
    rows = [read_row(case) for case in cases]
    table = [HEADINGS] + [row for row, _ in rows]
    widths = [max(len(row[i]) for row in table) for i in range(len(HEADINGS))]
    for row in table:
        print(' | '.join(cell.ljust(width) for cell, width in zip(row, widths)).rstrip())
    failed = [(row, output) for row, output in rows if row[2] != 'pass' and row[2] != 'skip']
    for row, output in failed:
        print(f'\n{row[0]}:\n{output}')
    print(f'\n{len(rows)} rows, {len(rows) - len(failed)} passed or skipped, {len(failed)} failed')
    return 1 if failed or not rows else 0


sys.exit(main())
