"""Child processes that cannot outlive the test, and what the kernel says about them."""

import ctypes
import os
import signal
import subprocess

_PR_SET_PDEATHSIG = 1
_libc = ctypes.CDLL(None, use_errno=True)


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


def memory_mb(pid, kind):
    """How much memory of a kind the process has, in MB, as the kernel's smaps_rollup names it.

    "Pss" counts shared pages in equal parts for all who share them, "Private_Dirty" what the process itself wrote."""
    with open(f"/proc/{pid}/smaps_rollup") as rollup:
        return next(int(line.split()[1]) / 1024 for line in rollup if line.startswith(kind + ":"))


def thread_count(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def descriptor_count(pid):
    return len(os.listdir(f"/proc/{pid}/fd"))
