"""Child processes that cannot outlive the test, and what the kernel says about them."""

import ctypes
import os
import signal
import subprocess
import time

from .waiting import wait_until

_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)
_TICKS = os.sysconf("SC_CLK_TCK")


def _die_with_parent():
    _libc.prctl(_PR_SET_PDEATHSIG, signal.SIGKILL)


def start(command, env=None, **options):
    """Popen of a process that the kernel kills when this one dies."""
    return subprocess.Popen([str(part) for part in command], env=env, preexec_fn=_die_with_parent,
                            stdin=subprocess.DEVNULL, **options)


def stop(process, timeout=10):
    """Asks the process to end, then insists. Returns its exit status."""
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(timeout)
        except subprocess.TimeoutExpired:
            process.kill()
    return process.wait()


def wait_for_exit(process, timeout, what):
    wait_until(lambda: process.poll() is not None, timeout, f"{what} to end")
    return process.returncode


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


def _rollup_mb(pid, key):
    with open(f"/proc/{pid}/smaps_rollup") as rollup:
        for line in rollup:
            if line.startswith(key + ":"):
                return int(line.split()[1]) / 1024
    raise RuntimeError(f"the kernel does not tell {key}")


def memory_mb(pid):
    """Proportional set size of the process, in MB: shared pages count in equal parts for all who share them."""
    return _rollup_mb(pid, "Pss")


def own_memory_mb(pid):
    """What the process itself wrote, in MB: unlike the set size it does not depend on who else runs."""
    return _rollup_mb(pid, "Private_Dirty")


def thread_count(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def descriptor_count(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))


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
