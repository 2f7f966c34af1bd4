#!/usr/bin/env python3
"""Runs the benchmarks and sets the rows that are compared into one table.

usage: report.py [--quick] [--only PROGRAM] DIRECTORY [PAGE]

DIRECTORY holds the benchmark programs. A program runs all its contestants in random order, and that
in many rounds, so that what disturbs the machine disturbs all of them. Each round gives a row one
figure; the table shows the median of these, and as the spread their middle half. With PAGE, the
table replaces what stands there between two marks, and the plots are drawn beside it (gnuplot).
With --quick there is one short round, and nothing is judged by time; with --only just the rows of
one program.
The exit code is 1 when a program fails or a row has no measurements.
"""

import argparse
import json
import os
import platform
import resource
import statistics
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True
from rows import PLOTS, PROGRAMS, ROWS  # pylint: disable=wrong-import-position

END = '<!-- end of the table -->'

NANOSECONDS = {'ns': 1, 'us': 1e3, 'ms': 1e6, 's': 1e9}
# Per unit in which a row is shown: how many of the measured units (nanoseconds or bytes) it holds.
SHOWN = {'ns': 1, 'µs': 1e3, 'ms': 1e6, 's': 1e9, 'B': 1, 'KiB': 1024, 'MiB': 1024 * 1024, '': 1, '%': 0.01}


def run_once(program, directory, quick):
    """One round of a program's benchmarks, in random order."""
    with tempfile.TemporaryDirectory() as scratch:
        out = os.path.join(scratch, 'out.json')
        command = [os.path.join(directory, program.name), f'--benchmark_out={out}', '--benchmark_out_format=json',
                   '--benchmark_enable_random_interleaving=true',
                   f'--benchmark_min_time={0.001 if quick else program.seconds}']
        environment = dict(os.environ, ORVANE_BENCH_QUICK='1') if quick else None
        done = subprocess.run(command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                              check=False)
        if done.returncode != 0:
            sys.exit(f'{program.name} failed ({done.returncode}):\n{done.stdout}')
        with open(out, encoding='utf-8') as file:
            entries = json.load(file)['benchmarks']
    for entry in entries:
        if entry.get('error_occurred'):
            sys.exit(f'{program.name}: {entry["name"]}: {entry["error_message"]}')
    return entries


def run_program(program, directory, quick):
    """The measurements of a program: benchmark -> list of its rounds."""
    measured = {}
    for _ in range(1 if quick else program.rounds):
        for entry in run_once(program, directory, quick):
            measured.setdefault(entry['name'], []).append(entry)
    return measured


def readings(measured, value):
    """A value in each round; the program must have produced it."""
    if value.benchmark not in measured:
        sys.exit(f'no benchmark of the name {value.benchmark} ran')
    runs = measured[value.benchmark]
    if value.counter is None:
        return [run['real_time'] * NANOSECONDS[run['time_unit']] for run in runs]
    if any(value.counter not in run for run in runs):
        sys.exit(f'{value.benchmark} did not count {value.counter}')
    return [run[value.counter] for run in runs]


def reached(figure, goal):
    sign, limit = goal.split()
    return figure >= float(limit) if sign == '>=' else figure <= float(limit)


def shown(number, unit=''):
    """Three digits that count."""
    text = f'{number:.0f}' if abs(number) >= 100 else f'{number:.3g}'
    return f'{text} {unit}'.strip()


def table_line(entry, measured):
    ours = readings(measured, entry.ours)
    yardstick = readings(measured, entry.yardstick) if entry.yardstick else ours
    scale = SHOWN[entry.figure_unit]
    figures = [entry.figure(*pair) / scale for pair in zip(ours, yardstick)]
    figure = statistics.median(figures)
    low, _, high = statistics.quantiles(figures, n=4) if len(figures) > 1 else (figure, figure, figure)
    unit = SHOWN[entry.unit]
    return [entry.what, shown(statistics.median(ours) / unit, entry.unit),
            entry.yardstick_name,
            shown(statistics.median(yardstick) / unit, entry.unit) if entry.yardstick else '',
            shown(figure, entry.figure_unit), f'{shown(low)} to {shown(high)}',
            f'{entry.goal} {entry.figure_unit}'.strip() if entry.goal else '',
            ('yes' if reached(figure, entry.goal) else 'NO') if entry.goal else '']


HEAD = ['what', 'ours', 'yardstick', 'its figure', 'result', 'spread', 'goal', 'reached']


def markdown(lines):
    widths = [max(len(line[i]) for line in [HEAD] + lines) for i in range(len(HEAD))]
    text = [HEAD, ['-' * width for width in widths]] + lines
    return '\n'.join('| ' + ' | '.join(cell.ljust(width) for cell, width in zip(line, widths)) + ' |'
                     for line in text)


def machine():
    """What the figures were taken on."""
    with open('/proc/cpuinfo', encoding='utf-8') as file:
        names = [line.split(':', 1)[1].strip() for line in file if line.startswith('model name')]
    return (f'Measured with {len(os.sched_getaffinity(0))} processors ({names[0] if names else platform.machine()}), '
            f'Linux {platform.release()}; at most {resource.getrlimit(resource.RLIMIT_NOFILE)[1]} open files.')


def write_page(page, measured_with, table, command):
    """Replaces the table of a command in the page, and what it was measured with."""
    begin = f'<!-- table: written by {command} -->'
    with open(page, encoding='utf-8') as file:
        before, mark, rest = file.read().partition(begin)
    if not mark or END not in rest:
        sys.exit(f'{page} does not hold the two marks of the table')
    with open(page, 'w', encoding='utf-8') as file:
        file.write(f'{before}{begin}\n\n{measured_with}\n\n{table}\n\n{END}{rest.split(END, 1)[1]}')


def plot_commands(plot, measured, image):
    """A gnuplot program with its data inside: the medians, and what would be in proportion to the first's largest."""
    lines = ['set terminal pngcairo size 720,420 font "DejaVu Sans,10"', f'set output "{image}"',
             f'set title "{plot.title}"', f'set xlabel "{plot.x}"', f'set ylabel "{plot.y}"', 'set key left top', 'set grid',
             *(['set logscale xy 2'] if plot.logarithmic else ['set xrange [0:*]', 'set yrange [0:*]'])]
    curves = [[(x, statistics.median(readings(measured, value)) / SHOWN[plot.unit]) for x, value in points]
              for points in plot.curves.values()]
    for number, points in enumerate(curves):
        lines += [f'$curve{number} << END', *(f'{x} {y}' for x, y in points), 'END']
    slope = curves[0][-1][1] / curves[0][-1][0]
    drawn = [f'$curve{number} using 1:2 with linespoints linewidth 2 pointtype {5 + 2 * number} title "{name}"'
             for number, name in enumerate(plot.curves)]
    drawn.append(f'{slope} * x dashtype 2 linecolor "gray" title "in proportion"')
    return '\n'.join(lines + ['plot ' + ', '.join(drawn), ''])


def draw(commands):
    for program in commands:
        subprocess.run(['gnuplot'], input=program, text=True, check=True)


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument('--quick', action='store_true')
    parser.add_argument('--only', metavar='PROGRAM')
    parser.add_argument('directory')
    parser.add_argument('page', nargs='?')
    arguments = parser.parse_args()
    if arguments.page and (arguments.quick or arguments.only):
        parser.error('a page takes the whole table')
    return arguments


def main():
    arguments = parse_arguments()
    programs = [program for program in PROGRAMS if arguments.only in (None, program.name)]
    measured = {}
    for program in programs:
        print(f'{program.name} ...', file=sys.stderr, flush=True)
        measured.update(run_program(program, arguments.directory, arguments.quick))
    rows = [entry for entry in ROWS if arguments.only is None or entry.ours.benchmark in measured]
    table = markdown([table_line(entry, measured) for entry in rows])
    print(f'{len(rows)} rows ran' if arguments.quick else table)
    if arguments.only is None:
        directory = os.path.dirname(arguments.page or '')
        plots = [plot_commands(plot, measured, os.path.join(directory, plot.image)) for plot in PLOTS]
        if arguments.page:
            write_page(arguments.page, machine(), table, 'scripts/bench')
            draw(plots)


if __name__ == '__main__':
    main()
