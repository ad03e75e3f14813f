"""Runs one command and says what it cost."""

import os
import subprocess
import tempfile
import threading
import time
from typing import NamedTuple

# Far beyond anything expected: a program that hangs must not hang the whole comparison.
LIMIT_SECONDS = 1800


class Cost(NamedTuple):
    seconds: float
    # The kernel counts the moment before the program replaces this interpreter's image, so that no figure is lower
    # than this interpreter's own size (about 15 MB).
    peak_mb: float


class CommandFailed(Exception):
    pass


def run(command, environment):
    """Runs to the end, with no input and nobody reading the output."""
    with tempfile.TemporaryFile() as output:
        start = time.monotonic()
        process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output)
        guard = threading.Timer(LIMIT_SECONDS, process.kill)
        guard.start()
        try:
            _, status, usage = os.wait4(process.pid, 0)
        finally:
            guard.cancel()
        seconds = time.monotonic() - start
        # wait4 took the child away from under subprocess, which would look for it again.
        process.returncode = os.waitstatus_to_exitcode(status)
        if process.returncode != 0:
            output.seek(0)
            said = output.read().decode(errors="replace").strip().splitlines()[-5:]
            raise CommandFailed(f"{' '.join(command[:6])} ended with {process.returncode}: " + " / ".join(said))
    return Cost(seconds, usage.ru_maxrss / 1024)


def clean_environment(home):
    """An environment in which no program finds its user's own settings, display or proxy."""
    dropped = ("XDG_", "DISPLAY", "WAYLAND_", "DBUS_", "http_proxy", "https_proxy", "HTTP_PROXY", "HTTPS_PROXY",
               "ALL_PROXY", "all_proxy", "GPODDER_")
    environment = {name: value for name, value in os.environ.items() if not name.startswith(dropped)}
    return {**environment, "HOME": str(home), "LC_ALL": "C.UTF-8"}
