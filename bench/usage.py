"""What processes use of the machine, as the kernel tells it."""

import os
import time

from harness import processes

_TICKS = os.sysconf("SC_CLK_TCK")


def descendants(pid):
    """The process and all its children, grandchildren and so on."""
    found = [pid]
    for parent in found:
        try:
            for task in os.listdir(f"/proc/{parent}/task"):
                with open(f"/proc/{parent}/task/{task}/children") as children:
                    found += [int(child) for child in children.read().split()]
        except FileNotFoundError:
            continue
    return found


def cpu_seconds(pid):
    """Processor time used by the process and by its children, waited for or still running."""
    total = 0
    for each in descendants(pid):
        try:
            with open(f"/proc/{each}/stat") as stat:
                fields = stat.read().rpartition(")")[2].split()
            total += sum(int(ticks) for ticks in fields[11:15 if each == pid else 13])
        except FileNotFoundError:
            continue
    return total / _TICKS


def memory_mb(pid):
    """Proportional set size of the process, in MB: shared pages count in equal parts for all who share them."""
    return processes.memory_mb(pid, "Pss")


def cpu_rate(pids, seconds):
    """Processor seconds per second of all the processes together."""
    begin, before = time.monotonic(), sum(cpu_seconds(pid) for pid in pids)
    time.sleep(seconds)
    return (sum(cpu_seconds(pid) for pid in pids) - before) / (time.monotonic() - begin)


def busy_processors(seconds=2):
    """How many processors the whole machine keeps busy now."""
    def idle():
        with open("/proc/stat") as stat:
            fields = stat.readline().split()[1:]
        return (int(fields[3]) + int(fields[4])) / _TICKS
    begin, before = time.monotonic(), idle()
    time.sleep(seconds)
    return os.cpu_count() - (idle() - before) / (time.monotonic() - begin)
