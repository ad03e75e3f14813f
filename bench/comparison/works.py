"""The measurements. Within each round the programs take turns, so that all of them run in the same conditions."""

import os
import re

from .site import DistantFeeds, Feeds, Server, make_certificate

IMPORT = "first import"
UNCHANGED = "refresh, nothing new"
NEW = "refresh, 5 new in every tenth feed"
PLAIN = "refresh, nothing new, a site without validators"
BIG_IMPORT = "import of one feed of 20,000"
BIG_REFRESH = "refresh of one feed of 20,000, one new"
TOKENS_UNCHANGED = "refresh of one feed of 20,000, other bytes, nothing new"
TOKENS = "refresh of one feed of 20,000, every audio address another"
DISTANT = "48 feeds on 12 hosts, 0.1 s late, nothing new"
TLS_IMPORT = "200 feeds on 150 hosts, TLS, 0.1 s late, first import"
TLS_UNCHANGED = "200 feeds on 150 hosts, TLS, 0.1 s late, nothing new"
LIST = "import of 2,000 feeds on 50 hosts, 0.05 s late"
DOWNLOAD = "download of 300 MB"
SMALL_DOWNLOAD = "download of 30 MB"

BIG_EPISODES = 20_000
TOKEN_ROUNDS = 25
MEGABYTE = 1_000_000


class Comparison:
    def __init__(self, root, bin_dir, curl, podcasts, others, rounds, results, tell, habits=()):
        self.root, self.bin_dir, self.rounds, self.results, self.tell = root, bin_dir, rounds, results, tell
        self.curl, self.podcasts = curl, podcasts
        self.habits = habits  # options of the server for all measurements
        self.readers = [program for program in (podcasts, *others) if program.is_there]

    def run_feeds(self, feed_count, episodes, works):
        folder = self.root / "feeds"
        folder.mkdir()
        with Server(self.bin_dir, folder, *self.habits) as server:
            self.tell(f"generating {feed_count} feeds of {episodes} episodes")
            feeds = Feeds(self.bin_dir, folder, server.base, feed_count, episodes, new=5, every=10)
            # The server compresses each document at its first request, which must not count for any program.
            self.curl.fetch(feeds)
            self._import(feeds)
            self._refresh(feeds, works)
        if "plain" in works and self.podcasts in self.readers:
            self._plain(folder, feed_count, episodes)

    def _import(self, feeds):
        """Always run, because the refreshes start from the stored state."""
        for number in range(self.rounds):
            self._measure(IMPORT, self.curl, lambda: self.curl.fetch(feeds))
            for program in self.readers:
                if number < program.most_import_rounds:
                    program.fresh()
                    self._measure(IMPORT, program, lambda: program.first_import(feeds))
        for program in self.readers:
            # Refresh once unmeasured: some programs store a feed's validators only from its second fetch on.
            program.refresh()
            self._expect(program, feeds.count, IMPORT)
            program.keep()

    def _refresh(self, feeds, works):
        """Both refreshes start from the same stored state, and take turns."""
        feeds.publish_new()
        self.curl.fetch(feeds)
        feeds.withdraw_new()
        for number in range(self.rounds):
            if "unchanged" in works:
                self._refresh_once(UNCHANGED, feeds, lambda program: number < program.most_rounds)
            if "new" in works:
                feeds.publish_new()
                # If an import takes long, so does merging.
                self._refresh_once(NEW, feeds, lambda program: number < program.most_import_rounds)
                feeds.withdraw_new()

    def _refresh_once(self, work, feeds, is_due):
        self._measure(work, self.curl, lambda: self.curl.fetch(feeds))
        for program in filter(is_due, self.readers):
            program.restore()
            self._measure(work, program, program.refresh)
            self._expect(program, feeds.count if work == UNCHANGED else feeds.count_with_new, work)

    def _plain(self, folder, feed_count, episodes):
        """Without validators every feed is transferred, and the program has to recognise that nothing has changed."""
        with Server(self.bin_dir, folder, "--no-validators", *self.habits) as server:
            feeds = Feeds(self.bin_dir, self.root / "plain", server.base, feed_count, episodes, new=0, every=1)
            self.curl.fetch(feeds)
            self.podcasts.fresh()
            self.podcasts.first_import(feeds)
            self.podcasts.refresh()
            for _ in range(self.rounds):
                self._measure(PLAIN, self.curl, lambda: self.curl.fetch(feeds))
                self._measure(PLAIN, self.podcasts, self.podcasts.refresh)
            self._expect(self.podcasts, feeds.count, PLAIN)

    def run_big(self):
        folder = self.root / "big"
        folder.mkdir()
        with Server(self.bin_dir, folder, *self.habits) as server:
            self.tell(f"generating a feed of {BIG_EPISODES} episodes")
            feeds = Feeds(self.bin_dir, folder, server.base, 1, BIG_EPISODES, new=1, every=1)
            self.curl.fetch(feeds)
            programs = [program for program in self.readers if program.name != "gpodder"]
            for _ in range(self.rounds):
                self._measure(BIG_IMPORT, self.curl, lambda: self.curl.fetch(feeds))
                for program in programs:
                    program.fresh()
                    self._measure(BIG_IMPORT, program, lambda: program.first_import(feeds))
            for program in programs:
                self._expect(program, feeds.count, BIG_IMPORT)
                program.keep()
            feeds.publish_new()
            self.curl.fetch(feeds)
            for _ in range(self.rounds):
                self._measure(BIG_REFRESH, self.curl, lambda: self.curl.fetch(feeds))
                for program in programs:
                    program.restore()
                    self._measure(BIG_REFRESH, program, program.refresh)
            for program in programs:
                self._expect(program, feeds.count_with_new, BIG_REFRESH)

    def run_tokens(self):
        """A host that puts another token into every audio address at each fetch. Only our program is measured: for the
        others all episodes would be new each time."""
        if self.podcasts not in self.readers:
            return
        folder = self.root / "tokens"
        folder.mkdir()
        with Server(self.bin_dir, folder, "--no-compression", *self.habits) as server:
            feeds = Tokens(Feeds(self.bin_dir, folder, server.base, 1, BIG_EPISODES, new=0, every=1))
            self.podcasts.fresh()
            self.podcasts.first_import(feeds)
            self.podcasts.refresh()
            before = self.podcasts.database_size()
            for number in range(1, TOKEN_ROUNDS + 1):
                # Its bytes are others, so that it is read; its addresses are not.
                feeds.publish(number - 1, edition=number)
                self._measure(TOKENS_UNCHANGED, self.podcasts, self.podcasts.refresh)
                feeds.publish(number, edition=number)
                self._measure(TOKENS, self.podcasts, self.podcasts.refresh)
            self.results.growth = self.podcasts.database_size() / before
            self._expect(self.podcasts, feeds.count, TOKENS)

    def run_distant(self):
        """Distant servers. newsboat fetches eight feeds at a time here; gpodder's library cannot resolve the names."""
        programs = [program for program in self.readers if program.name != "gpodder"]
        for program in programs:
            if program.name == "newsboat":
                program.settings = "reload-threads 8\nssl-verifypeer no\n"
        self._distant(programs, None, DISTANT, 48, 12, 100)
        certificate, key = make_certificate(self.root)
        self.podcasts.environment["SSL_CERT_FILE"] = str(certificate)
        self._distant(programs, TLS_IMPORT, TLS_UNCHANGED, 200, 150, 100, "--tls", certificate, key)
        self._distant([self.podcasts] if self.podcasts in programs else [], LIST, None, 2000, 50, 50)

    def _distant(self, programs, importing, refreshing, feed_count, hosts, late, *options):
        folder = self.root / f"distant-{feed_count}"
        folder.mkdir()
        with Server(self.bin_dir, folder, "--latency-ms", str(late), *map(str, options), *self.habits) as server:
            feeds = DistantFeeds(self.bin_dir, folder, server.base, feed_count, 20, hosts)
            for number in range(self.rounds if importing else 1):
                for program in programs:
                    if number >= program.most_import_rounds:
                        continue
                    program.fresh()
                    if importing:
                        self._measure(importing, program, lambda: program.first_import(feeds))
                    else:
                        program.first_import(feeds)
            for program in programs:
                program.refresh()
                self._expect(program, feeds.count, refreshing or importing)
            for number in range(self.rounds if refreshing else 0):
                for program in programs:
                    if number < program.most_rounds:
                        self._measure(refreshing, program, program.refresh)

    def run_downloads(self):
        for work, size in ((SMALL_DOWNLOAD, 30 * MEGABYTE), (DOWNLOAD, 300 * MEGABYTE)):
            folder = self.root / f"audio-{size}"
            folder.mkdir()
            with Server(self.bin_dir, folder, *self.habits) as server:
                self._download(work, size, folder, server.base)

    def _download(self, work, size, folder, base):
        with open(folder / "episode.mp3", "wb") as file:
            for _ in range(size // MEGABYTE):
                file.write(os.urandom(MEGABYTE))
        show = OneEpisode(folder, base, size)
        ours = self.podcasts in self.readers
        if ours:
            self.podcasts.fresh()
            self.podcasts.first_import(show)
            key = self.podcasts.first_key()
            self.podcasts.keep()
        # The disk's speed varies most of all, and downloads take the least time, so run them more often.
        for _ in range(2 * self.rounds):
            self.curl.fresh()
            self._measure(work, self.curl, lambda: self.curl.download(base + "/episode.mp3"))
            if ours:
                self.podcasts.restore()
                self._measure(work, self.podcasts, lambda: self.podcasts.download(key))
        if ours and not _holds_file_of(self.podcasts.state, size):
            self.results.note(f"podcasts, {work}: no file of {size} bytes is there after the command")
        self.curl.fresh()
        self.podcasts.fresh()

    def _measure(self, work, program, action):
        # Writes that are still pending from the previous work must not happen during this one.
        os.sync()
        cost = action()
        self.results.add(work, program.name, cost)
        self.tell(f"{work}: {program.name} {cost.seconds:.2f} s, {cost.peak_mb:.0f} MB")

    def _expect(self, program, count, work):
        """Notes a program that has stored fewer episodes, since it has not done all the work."""
        found = program.count()
        if found != count:
            self.results.note(f"{program.name}, {work}: {found} episodes are stored, {count} were published")


class Tokens:
    """Feeds whose audio addresses get another token each time they are published."""

    def __init__(self, feeds):
        self.files = [(file, file.rename(file.with_suffix(".plain"))) for file in feeds.served.glob("*.xml")]
        self.count, self.list = feeds.count, feeds.list
        self.publish(0, edition=0)

    def publish(self, token, edition):
        def with_token(enclosure):
            return enclosure[1] + ("&amp;" if "?" in enclosure[1] else "?") + f"updated={token}"

        # By lines: what this interpreter has ever held would count as the peak of the programs that it starts.
        for file, plain in self.files:
            with open(plain) as source, open(file, "w") as target:
                for line in source:
                    target.write(re.sub(r'(<enclosure url="[^"]*)', with_token, line))
                target.write(f"<!-- edition {edition} -->\n")


class OneEpisode:
    """A show with one episode whose audio file can be downloaded."""

    def __init__(self, folder, base, size):
        (folder / "feed.xml").write_text(
            f'<?xml version="1.0"?><rss version="2.0"><channel><title>One</title><link>{base}</link>'
            f"<description>One episode</description><item><title>The episode</title><guid>{base}/1</guid>"
            f"<pubDate>Mon, 03 Mar 2025 06:00:00 GMT</pubDate>"
            f'<enclosure url="{base}/episode.mp3" length="{size}" type="audio/mpeg"/></item></channel></rss>\n')
        self.urls = [base + "/feed.xml"]
        self.list = folder / "subscriptions.opml"
        self.list.write_text(f'<opml version="2.0"><head/><body><outline type="rss" text="One" '
                             f'xmlUrl="{base}/feed.xml"/></body></opml>\n')


def _holds_file_of(folder, size):
    return any(file.stat().st_size == size for file in folder.rglob("*") if file.is_file())
