"""The rows of the table: what is measured, beside what, and what is to be reached."""

from dataclasses import dataclass
from typing import Callable, Optional


@dataclass
class Program:
    """A benchmark program, and how much of it is run."""
    name: str
    rounds: int
    seconds: float = 0.1  # of each benchmark in each round, about


@dataclass
class Value:
    """What is measured: the real time of a benchmark (nanoseconds), or one of its counters."""
    benchmark: str
    counter: Optional[str] = None


@dataclass
class Row:
    """One line of the table: `figure` of what is ours, and of the yardstick where there is one."""
    what: str
    ours: Value
    yardstick_name: str
    yardstick: Optional[Value]
    figure: Callable[[float, float], float]
    unit: str = ''  # of the two measurements
    goal: Optional[str] = None  # '>= 0.90', '<= 1.5'; in `figure_unit`
    figure_unit: str = ''


@dataclass
class Plot:
    """How something grows: curves of (x, value), each a median, shown in `unit`."""
    image: str
    title: str
    x: str
    y: str
    unit: str
    curves: dict
    logarithmic: bool = False  # both axes


def rate(ours, yardstick):
    """Our rate as a part of the yardstick's."""
    return yardstick / ours


def times(ours, yardstick):
    return ours / yardstick


def added(ours, yardstick):
    return ours - yardstick


def alone(ours, _):
    return ours


PROGRAMS = [
    Program('exchangeBench', 31),
    Program('responseBench', 11),
    Program('logBench', 21),
    Program('pageBench', 21),
    Program('queueBench', 5),
    Program('processBench', 3),
    Program('launchBench', 9, 0.3),
]

ROWS = []


def row(*arguments, **named):
    ROWS.append(Row(*arguments, **named))


for size, arg in (('200 B', 200), ('64 KiB', 65536)):
    ours = Value(f'exchange/ours/{arg}/real_time')
    for name, yardstick, goal in (
            ('bare socket loop, same log lines', 'bare', '>= 0.90'),
            ('bare socket loop, no log lines', 'bareUnlogged', None),
            ('libcurl, handle reused', 'curl', '>= 1.00')):
        row(f'exchange, {size} body: rate', ours, name, Value(f'exchange/{yardstick}/{arg}/real_time'), rate,
            unit='µs', goal=goal)

for name, length, most in (('with Content-Length', 'announced', '<= 2.2'), ('until close', 'untilClose', '<= 3.2')):
    row(f'response of 64 MiB {name}: time', Value(f'response/{length}/64/real_time'), 'response of 8 MiB',
        Value(f'response/{length}/8/real_time'), times, unit='ms', goal='<= 9')
    for size in (1, 8, 64):
        row(f'response of {size} MiB {name}: peak memory', Value(f'responseMemory/{length}/{size}/iterations:1', 'peak'),
            'the body', Value(f'responseMemory/{length}/{size}/iterations:1', 'body'), times, unit='MiB', goal=most)

for threads, name in ((1, 'one thread'), (4, 'four threads')):
    ours = Value(f'log/ours/real_time/threads:{threads}')
    row(f'log line, {name}: rate', ours, 'bare format, write, file status',
        Value(f'log/bare/real_time/threads:{threads}'), rate, unit='µs', goal='>= 0.85')
    row(f'log line, {name}: rate', ours, 'bare format and write', Value(f'log/bareCounted/real_time/threads:{threads}'),
        rate, unit='µs')
    row(f'log line, {name}: rate', ours, 'spdlog, flushed each line',
        Value(f'log/spdlog/real_time/threads:{threads}'), rate, unit='µs')

row('log line: the check for rotation in it', Value('log/rotationCheck/real_time'), 'the whole line, one thread',
    Value('log/ours/real_time/threads:1'), alone, unit='µs', figure_unit='µs')

# Module and instances

row('script call queryVersion: processor time added', Value('scriptCall/ours', 'cpu_time'),
    'empty class, same log lines bare', Value('scriptCall/bare', 'cpu_time'), added, unit='µs', goal='<= 1.5', figure_unit='µs')
row('script call queryVersion: processor time added', Value('scriptCall/ours', 'cpu_time'),
    "empty class, same lines in the module's log", Value('scriptCall/sameLog', 'cpu_time'), added, unit='µs',
    goal='<= 1.5', figure_unit='µs')

REQUEST = 'request/real_time'
row('queued request to page callback: time added', Value(REQUEST, 'queued'), 'blocking request', Value(REQUEST, 'blocking'),
    added, unit='µs', goal='<= 100', figure_unit='µs')
row('the way to another thread and back, bare', Value(REQUEST, 'turn'), '', None, alone, unit='µs', figure_unit='µs')

QUEUE = 'queue/{}/iterations:1/real_time'
row('10,000 queued requests: processor time of each', Value(QUEUE.format(10000), 'each'), 'of 1,000',
    Value(QUEUE.format(1000), 'each'), times, unit='µs', goal='<= 1.1')
row('10,000 queued requests: memory afterwards', Value(QUEUE.format(10000), 'left'), 'all in the queue',
    Value(QUEUE.format(10000), 'held'), times, unit='KiB', goal='<= 0.01')
row("10,000 queued requests: left in the browser's memory, each", Value(QUEUE.format(10000), 'kept'), 'all on purpose',
    None, alone, unit='B', figure_unit='B')

row('element opened and closed, no session: time', Value('element/ours/real_time'),
    'exchange, thread, same log lines bare', Value('element/bare/real_time'), times, unit='µs', goal='<= 1.5')

row('idle session: part of a core', Value('idle/iterations:1', 'ours_cpu'), 'bare request a second',
    Value('idle/iterations:1', 'bare_cpu'), alone, unit='%', goal='<= 0.1', figure_unit='%')
row('idle session: wake-ups a second', Value('idle/iterations:1', 'ours_wakeups'), 'bare request a second',
    Value('idle/iterations:1', 'bare_wakeups'), alone)

MEMORY = 'memory/iterations:1'
row('memory of the loaded module', Value(MEMORY, 'module'), 'process before', Value(MEMORY, 'browser'), alone, unit='KiB',
    figure_unit='KiB')
row('memory of the loaded module: its own pages', Value(MEMORY, 'module_own'), '', None, alone, unit='KiB',
    figure_unit='KiB')
row('memory of the first element', Value(MEMORY, 'first'), '', None, alone, unit='KiB', figure_unit='KiB')
row('memory of each further element', Value(MEMORY, 'element'), '', None, alone, unit='KiB', figure_unit='KiB')
row('memory of a session', Value(MEMORY, 'session'), '', None, alone, unit='KiB', figure_unit='KiB')
row('10,000 elements come and go: heap growth each', Value(MEMORY, 'growth'), 'kept on purpose', Value(MEMORY, 'kept'),
    added, unit='B', goal='<= 1', figure_unit='B')

row("start of the application: page's first answer, worst", Value('launch/iterations:1', 'worst'),
    'median of all', Value('launch/iterations:1', 'median'), alone, unit='ms', goal='<= 110', figure_unit='ms')
row('process start at the hard limit of open files', Value('process/real_time', 'hard'), 'limit of 1024',
    Value('process/real_time', 'usual'), times, unit='µs', goal='<= 1.2')

PLOTS = [
    Plot('performance-response.png', 'One response', 'size of the body (MiB)', 'time (ms)', 'ms',
         {name: [(size, Value(f'response/{length}/{size}/real_time')) for size in (1, 2, 4, 8, 16, 32, 64)]
          for length, name in (('announced', 'with Content-Length'), ('untilClose', 'until close'))},
         logarithmic=True),
    Plot('performance-queue.png', 'Queued requests', 'how many are queued at once', 'processor time of all (ms)', 'ms',
         {'script calls, exchanges and callbacks': [(count, Value(QUEUE.format(count), 'all'))
                                                    for count in (1000, 2500, 5000, 10000)]}),
]
