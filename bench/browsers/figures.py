"""What /proc knows of the processes of a session."""

import os
import pathlib
import re


def read(path):
    """The text of a file of /proc; empty when the process has gone."""
    try:
        return pathlib.Path(path).read_text(encoding='utf-8', errors='replace')
    except OSError:
        return ''


def processes(session):
    """The ids of all processes of a session (setsid)."""
    found = []
    for pid in filter(str.isdigit, os.listdir('/proc')):
        fields = read(f'/proc/{pid}/stat').rpartition(')')[2].split()
        if fields and int(fields[3]) == session:
            found.append(int(pid))
    return found


def processor_times(session):
    """Nanoseconds on a processor until now of each thread of the session."""
    times = {}
    for pid in processes(session):
        for task in pathlib.Path(f'/proc/{pid}/task').glob('*'):
            text = read(task / 'schedstat')
            if text:
                times[int(task.name)] = int(text.split()[0])
    return times


def used(before, after):
    """Nanoseconds between two answers of `processor_times`. What threads used that ended meanwhile is lost."""
    return sum(time - before.get(thread, 0) for thread, time in after.items())


def programs(session, name):
    """The processes of the session that run the program of that file name."""
    found = []
    for pid in processes(session):
        try:
            if os.path.basename(os.readlink(f'/proc/{pid}/exe')) == name:
                found.append(pid)
        except OSError:
            continue
    return found


def memory(pid):
    """Bytes of a process: its part of what it shares and all of its own (Pss), and what nobody else has."""
    sizes = dict(re.findall(r'^(\w+): +(\d+) kB$', read(f'/proc/{pid}/smaps_rollup'), re.MULTILINE))
    own = int(sizes['Private_Clean']) + int(sizes['Private_Dirty'])
    return {'share': int(sizes['Pss']) * 1024, 'own': own * 1024}
