"""The measured programs, each in its own folder, where it does not find its user's settings."""

import contextlib
import pathlib
import shutil
import sqlite3
import subprocess
import sys

from .processes import clean_environment, run


class Program:
    """`keep` and `restore` make the work repeatable: a program's stored state is restored before each round."""

    name = ""
    # Slow programs are run fewer times, so that the comparison takes only minutes.
    most_rounds = 100
    most_import_rounds = 100

    def __init__(self, folder, executable):
        """`executable` is None if the program is not installed."""
        self.executable = executable
        self.state = pathlib.Path(folder) / (self.name + "-state")
        self.kept = pathlib.Path(folder) / (self.name + "-kept")
        self.environment = clean_environment(self.state)
        self.fresh()

    @property
    def is_there(self):
        return self.executable is not None

    def run(self, *arguments):
        return run([str(self.executable), *map(str, arguments)], self.environment)

    def fresh(self):
        shutil.rmtree(self.state, ignore_errors=True)
        self.state.mkdir(parents=True)

    def keep(self):
        shutil.rmtree(self.kept, ignore_errors=True)
        shutil.copytree(self.state, self.kept)

    def restore(self):
        shutil.rmtree(self.state, ignore_errors=True)
        shutil.copytree(self.kept, self.state)


class Curl(Program):
    """The lower bound: one process, one connection, one transfer after another, everything thrown away."""

    name = "curl"

    def __init__(self, folder):
        super().__init__(folder, shutil.which("curl"))

    def fetch(self, feeds):
        config = self.state / "fetch.config"
        config.write_text("".join(f'url = "{url}"\noutput = "/dev/null"\n' for url in feeds.urls))
        return self.run("--silent", "--fail", "--compressed", "--config", config)

    def download(self, url):
        return self.run("--silent", "--fail", "--output", self.state / "download", url)


class Podcasts(Program):
    name = "podcasts"

    def __init__(self, folder, bin_dir):
        built = bin_dir / self.name
        super().__init__(folder, built if built.exists() else None)

    @property
    def profile(self):
        return self.state / "profile"

    def command(self, *arguments):
        return self.run("--profile", self.profile, *arguments)

    def first_import(self, feeds):
        return self.command("import", feeds.list)

    def refresh(self):
        return self.command("refresh")

    def count(self):
        return int(self._ask("len(episodes)"))

    def database_size(self):
        """The size in bytes, after a checkpoint has written everything to the one file."""
        database = self.profile / "Podcasts.db"
        with contextlib.closing(sqlite3.connect(database)) as connection:
            connection.execute("PRAGMA wal_checkpoint(TRUNCATE)")
        return database.stat().st_size

    def first_key(self):
        return self._ask("episodes[0]['key']")

    def _ask(self, question):
        # Another interpreter parses the list, because processes.run never measures less than this one's size.
        answer = f"import json, sys; episodes = json.load(sys.stdin); print({question})"
        listing = subprocess.Popen([str(self.executable), "--profile", str(self.profile), "--json", "episodes"],
                                   env=self.environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE)
        with listing:
            return subprocess.run([sys.executable, "-c", answer], stdin=listing.stdout, stdout=subprocess.PIPE,
                                  check=True, text=True).stdout.rstrip("\n")

    def download(self, key):
        return self.command("download", key)


class Newsboat(Program):
    name = "newsboat"
    most_rounds = 3
    most_import_rounds = 3
    settings = ""

    def __init__(self, folder):
        super().__init__(folder, shutil.which("newsboat"))

    def first_import(self, feeds):
        (self.state / "urls").write_text("".join(url + "\n" for url in feeds.urls))
        (self.state / "config").write_text(self.settings)
        return self.refresh()

    def refresh(self):
        return self.run("-q", "-x", "reload", "-u", self.state / "urls", "-c", self.state / "cache.db",
                        "-C", self.state / "config")

    def count(self):
        return _rows(self.state / "cache.db", "rss_item")


class Gpodder(Program):
    name = "gpodder"
    most_rounds = 3
    # It takes about two seconds for each feed.
    most_import_rounds = 1

    def __init__(self, folder):
        super().__init__(folder, shutil.which("gpo"))
        self.environment["GPODDER_HOME"] = str(self.state / "home")

    def first_import(self, feeds):
        return self.run("import", feeds.list)

    def refresh(self):
        return self.run("update")

    def count(self):
        return _rows(self.state / "home" / "Database", "episode")


def _rows(database, table):
    connection = sqlite3.connect(database)
    try:
        return connection.execute(f"SELECT COUNT(*) FROM {table}").fetchone()[0]
    finally:
        connection.close()
