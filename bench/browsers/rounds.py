"""What is measured in one browser. Contestants take turns in random order; each turn of all of them is a
round, and gives each row one figure."""

import math
import random
import time
from dataclasses import dataclass

from browsers import figures

SMALL = 200  # characters of an answer of a usual size
SIZES = (64 * 1024, 1024 * 1024, 16 * 1024 * 1024)
HOST = 'orvane-web-host'
MS = 1e6  # nanoseconds

# Turns: the page's names of the ways that alternate, and the characters of their answers. Those of one turn leave
# nothing to do behind them, which the next would wait for.
CALLS = ({'echo': SMALL, 'asked': SMALL, 'promise': SMALL}, {'callback': SMALL}, {'request': SMALL}, {'version': 0})


@dataclass
class Plan:
    """How much is done; times in seconds."""
    rounds: int
    calls: int  # in a row, of each contestant in each round
    first_rounds: int
    sizes: tuple
    size_rounds: int
    load_rounds: int
    loads: int  # of each page in each round
    elements: int
    watch_rounds: int
    watched: float  # of a window while a call waits
    idle_rounds: int
    idle: float  # of a window of an idle page
    windows: int  # of each page in each round


WHOLE = Plan(rounds=45, calls=20, first_rounds=45, sizes=SIZES, size_rounds=5, load_rounds=25, loads=8, elements=21,
             watch_rounds=5, watched=1, idle_rounds=5, idle=3, windows=3)
QUICK = Plan(rounds=1, calls=2, first_rounds=1, sizes=SIZES, size_rounds=1, load_rounds=1, loads=1, elements=3,
             watch_rounds=1, watched=0.2, idle_rounds=1, idle=0.2, windows=1)


def middle(times):
    """The mean of the middle half, as the pages take it."""
    half = sorted(times)[len(times) // 4:math.ceil(len(times) * 0.75)]
    return sum(half) / len(half)


def shuffled(contestants):
    return random.sample(contestants, len(contestants))


class Rounds:
    """The measurements of one stage: benchmark -> list of its rounds, as report.py reads them."""

    def __init__(self, stage, plan):
        self.stage = stage
        self.plan = plan
        self.measured = {}

    def note(self, benchmark, **counters):
        self.measured.setdefault(f'{self.stage.browser}/{benchmark}', []).append(counters)

    def run(self):
        for part in (self.calls, self.first_calls, self.sizes, self.loads, self.waiting, self.idle, self.memory):
            part()
        return self.measured

    def calls(self):
        self.stage.order('application', self.stage.application_port())
        for turn in CALLS:
            self.stage.order('calls', turn, 5)
        for _ in range(self.plan.rounds):
            for turn in shuffled(CALLS):
                for name, time_ in self.stage.order('calls', turn, self.plan.calls).items():
                    self.note(name, time=time_ * MS)

    def first_calls(self):
        for page in ('first.html', 'first_echo.html'):
            self.stage.order('first', f'/echo/{page}')
        for _ in range(self.plan.first_rounds):
            for page in shuffled(['first.html', 'first_echo.html']):
                self.note(page.split('.')[0], time=self.stage.order('first', f'/echo/{page}') * MS)

    def sizes(self):
        """Milliseconds of an answer, and of each of its bytes."""
        for _ in range(self.plan.size_rounds):
            for way, size in shuffled([(way, size) for way in ('promise', 'request') for size in self.plan.sizes]):
                count = max(1, min(8, 4 * 1024 * 1024 // size))
                taken = self.stage.order('calls', {way: size}, count)[way] * MS
                self.note(f'{way}/{size}', time=taken, each=taken / size)

    def loads(self):
        pages = ['with/many.html', 'without/many.html']
        for page in pages:
            self.stage.go(page)
        for _ in range(self.plan.load_rounds):
            times = {page: [] for page in pages}
            for _ in range(self.plan.loads):
                for page in shuffled(pages):
                    times[page].append(self.stage.go(page))
            for page, taken in times.items():
                self.note(page.split('/')[0], time=middle(taken) * MS)

    def watch(self, seconds):
        """The part of a core that browser and host take: the least of several windows, since a browser's own
        work comes now and then, and all at once, while what is measured goes on in each of them."""
        parts = []
        for _ in range(self.plan.windows):
            start, before = time.monotonic(), figures.processor_times(self.stage.session)
            time.sleep(seconds)
            after, end = figures.processor_times(self.stage.session), time.monotonic()
            parts.append(figures.used(before, after) / 1e9 / (end - start))
        return min(parts)

    def waiting(self):
        self.stage.go('with/calls.html')
        self.stage.order('calls', {'version': 0}, 1)
        time.sleep(self.plan.idle)  # what the page's load has left to do
        for _ in range(self.plan.watch_rounds):
            self.note('still', core=self.watch(self.plan.watched))
            self.stage.begin('wait', int((self.plan.watched * self.plan.windows + 3) * 1000))
            self.expect('waits')
            self.note('waits', core=self.watch(self.plan.watched))
            self.expect('waited')
            self.stage.pages.answer()

    def expect(self, word):
        """What the application says of a request."""
        said = self.stage.application.stdout.readline().strip()
        if said != word:
            raise RuntimeError(f'the application said {said!r} instead of {word!r}')

    def idle(self):
        """Of a page whose session is told each second that nothing is under way, one whose session tells nobody, one
        without an element, and one that a bare host sends a message a second."""
        for _ in range(self.plan.idle_rounds):
            for page in shuffled(['with/session', 'with/quiet', 'with/plain', 'echo/pushed']):
                self.stage.go(f'{page}.html')
                time.sleep(self.plan.idle)
                self.note(f"idle/{page.split('/')[1]}", core=self.watch(self.plan.idle))

    def memory(self):
        """Of hosts that have answered: one with an element, the same with more, and one more document."""
        self.stage.go('with/calls.html')
        self.stage.order('elements', 1)
        one = self.hosts(1)[0]
        self.stage.order('elements', self.plan.elements)
        all_of_them = self.hosts(1)[0]
        self.note('host', share=one['share'], own=one['own'],
                  each=(all_of_them['own'] - one['own']) / (self.plan.elements - 1))
        self.stage.go('with/plain.html')
        self.stage.order('frames', '/with/first.html', self.plan.elements)
        hosts = self.hosts(self.plan.elements)
        self.note('hosts', share=sum(host['share'] for host in hosts) / len(hosts))

    def hosts(self, count):
        """The memory of each host, once that many are there: others may still be ending."""
        deadline = time.monotonic() + 20
        while len(running := figures.programs(self.stage.session, HOST)) != count:
            if time.monotonic() > deadline:
                raise RuntimeError(f'{len(running)} hosts are running, not {count}')
            time.sleep(0.05)
        return [figures.memory(pid) for pid in running]
