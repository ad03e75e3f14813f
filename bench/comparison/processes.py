"""Runs one command and measures its time and memory."""

import os
import subprocess
import tempfile
import threading
import time
from typing import NamedTuple

# Much longer than any expected run, so that a program that hangs does not block the whole comparison.
LIMIT_SECONDS = 1800


class Cost(NamedTuple):
    seconds: float
    # The kernel's figure includes the time before exec replaces this interpreter, so it is never lower than the
    # interpreter's own size (about 15 MB).
    peak_mb: float


class CommandFailed(Exception):
    pass


def run(command, environment):
    """Runs the command to its end, without input and without reading its output."""
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
        # wait4 has reaped the child; otherwise subprocess would wait for it again.
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
