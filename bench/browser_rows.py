"""The rows of the table of today's browsers: what is measured, beside what, and what is to be reached."""

from rows import Row, Value, added, alone, times

MIB = 1024 * 1024


def rows_of(browser):
    """In the order of the table."""
    rows = []

    def value(benchmark, counter='time'):
        return Value(f'{browser}/{benchmark}', counter)

    def row(what, ours, *arguments, **named):
        rows.append(Row(f'{browser.capitalize()}: {what}', ours, *arguments, **named))

    echo = ("echo by the browser's own messaging", value('echo'), times)
    blocking = '<= 4' if browser == 'firefox' else '<= 10'
    row('Async request to the application by promise', value('promise'), *echo, unit='ms', goal='<= 1.3')
    row('Async request to the application by promise', value('promise'), 'echo, whose host asks the application the same',
        value('asked'), times, unit='ms')
    row('the echo, whose host asks the application the same', value('asked'), *echo, unit='ms')
    row("Async request by the element's own method", value('callback'), *echo, unit='ms', goal=blocking)
    row('blocking request to the application', value('request'), *echo, unit='ms', goal=blocking)
    row('queryVersion', value('version'), *echo, unit='ms', goal=blocking)
    row("a page's first call", value('first'), 'first echo, start of an empty host', value('first_echo'), times,
        unit='ms', goal='<= 1.5')
    for way, name in (('promise', 'by promise'), ('request', 'blocking')):
        for size, less in ((MIB, 64 * 1024), (16 * MIB, MIB)):
            row(f'answer of {size // MIB} MiB {name}: time of a byte', value(f'{way}/{size}', 'each'),
                f'of {less // 1024} KiB' if less < MIB else 'of 1 MiB', value(f'{way}/{less}', 'each'), times, unit='ns',
                goal='<= 1.2')
    row('a call waits: part of a core', value('waits', 'core'), 'the same page waits for nothing',
        value('still', 'core'), added, unit='%', goal='<= 5' if browser == 'firefox' else None, figure_unit='%')
    plain = ('page without an element', value('idle/plain', 'core'), added)
    row('idle session: part of a core', value('idle/quiet', 'core'), *plain, unit='%', goal='<= 0.1', figure_unit='%')
    row('idle session, an event handler told each second', value('idle/session', 'core'), *plain, unit='%',
        goal='<= 0.1', figure_unit='%')
    row("a message a second by the browser's own messaging", value('idle/pushed', 'core'), *plain, unit='%',
        figure_unit='%')
    row('load of 5,000 elements, none of ours', value('with'), 'without its scripts', value('without'), times,
        unit='ms', goal='<= 1.02')
    row('memory of a host with one element', value('host', 'share'), '', None, alone, unit='KiB', figure_unit='KiB')
    row('memory of a host with one element: its own pages', value('host', 'own'), '', None, alone, unit='KiB',
        figure_unit='KiB')
    row('memory of each further element', value('host', 'each'), '', None, alone, unit='KiB', figure_unit='KiB')
    row("memory of each of 20 documents' hosts", value('hosts', 'share'), '', None, alone, unit='KiB', figure_unit='KiB')
    return rows


SIZE_ROWS = [
    Row('size of the extension, packed', Value('size', 'packed'), 'unpacked', Value('size', 'unpacked'), alone, unit='KiB',
        figure_unit='KiB'),
    Row('size of the host program', Value('size', 'host'), 'the module', Value('size', 'module'), alone, unit='KiB',
        figure_unit='KiB'),
]
