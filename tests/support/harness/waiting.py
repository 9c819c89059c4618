"""Waiting for a condition instead of for a time."""

import os
import time

# Slow builds (sanitizers) and loaded machines get more time; what is waited for stays the same.
PATIENCE = float(os.environ.get("ZORVEL_E2E_PATIENCE", "1"))


class TimedOut(AssertionError):
    pass


def wait_until(condition, timeout, what, interval=0.05):
    """Calls condition() until it returns something true and returns that; fails after timeout seconds."""
    deadline = time.monotonic() + timeout * PATIENCE
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > deadline:
            raise TimedOut(f"waited {timeout * PATIENCE:g} s in vain: {what() if callable(what) else what}")
        time.sleep(interval)


def stays(condition, seconds, what, interval=0.05):
    """Fails as soon as condition() is not true within so many seconds: shows that something does not happen."""
    deadline = time.monotonic() + seconds
    while time.monotonic() < deadline:
        if not condition():
            raise AssertionError(f"did not stay so for {seconds:g} s: {what}")
        time.sleep(interval)
