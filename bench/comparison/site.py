"""The feeds, and the server from which they are fetched."""

import os
import pathlib
import shutil
import subprocess
import time


class Server:
    """Serves a folder until the block is left or this process ends."""

    def __init__(self, bin_dir, folder, *options):
        self.command = [str(bin_dir / "loopback-server"), str(folder), *options]

    def __enter__(self):
        self.process = subprocess.Popen(self.command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.base = self.process.stdout.readline().strip()
        if not self.base:
            raise RuntimeError("the server did not start: " + " ".join(self.command))
        return self

    def __exit__(self, *_):
        self.process.stdin.close()
        self.process.wait()
        self.process.stdout.close()


def generate(bin_dir, folder, base, feeds, episodes, new=0, every=1):
    """Writes the feeds, and their subscription list beside the folder."""
    listing = folder.with_suffix(".opml")
    subprocess.run([str(bin_dir / "generate-feeds"), str(folder), "--opml", str(listing), "--base", base,
                    "--feeds", str(feeds), "--episodes", str(episodes), "--new", str(new), "--every", str(every)],
                   check=True)
    return listing


class DistantFeeds:
    """Feeds on several hosts, all of which are this machine: names below localhost (RFC 6761)."""

    DOMAIN = "pod.localhost"

    def __init__(self, bin_dir, root, base, feeds, episodes, hosts):
        self.count = feeds * episodes
        self.list = generate(bin_dir, root, base, feeds, episodes)
        scheme, _, port = base.split(":")
        names = sorted(file.name for file in root.glob("*.xml"))
        self.urls = [f"{scheme}://h{number % hosts}.{self.DOMAIN}:{port}/{name}" for number, name in enumerate(names)]
        outlines = "".join(f'<outline type="rss" text="{name}" xmlUrl="{url}"/>' for name, url in zip(names, self.urls))
        self.list.write_text(f'<opml version="2.0"><head/><body>{outlines}</body></opml>\n')


def make_certificate(folder):
    """A certificate for all hosts of DistantFeeds, and its key."""
    certificate, key = folder / "certificate.pem", folder / "key.pem"
    subprocess.run(["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                    "-subj", f"/CN={DistantFeeds.DOMAIN}", "-addext", f"subjectAltName=DNS:*.{DistantFeeds.DOMAIN}",
                    "-keyout", str(key), "-out", str(certificate), "-days", "2"], check=True, stderr=subprocess.DEVNULL)
    return certificate, key


class Feeds:
    """A folder of feeds with a second state, which has newer episodes; it can switch between the two."""

    def __init__(self, bin_dir, root, base, feeds, episodes, new, every):
        """`root` is a folder that a server serves at `base`."""
        self.served = pathlib.Path(root)
        self.count = feeds * episodes
        self.count_with_new = self.count + new * (feeds // every)
        self.list = generate(bin_dir, self.served, base, feeds, episodes)
        # If both states were written in the same second, a client that compares dates would take them for the same.
        yesterday = time.time() - 24 * 60 * 60
        for file in self.served.glob("*.xml"):
            os.utime(file, (yesterday, yesterday))
        self.urls = [f"{base}/{file.name}" for file in sorted(self.served.glob("*.xml"))]
        self.older = self.served.with_name(self.served.name + "-older")
        self.newer = self.served.with_name(self.served.name + "-newer")
        generate(bin_dir, self.newer, base, feeds, episodes, new, every)
        self.older.mkdir()
        for number in range(1, feeds + 1):
            name = f"feed-{number:04}.xml"
            if number % every == 0:
                shutil.copy2(self.served / name, self.older)
            else:
                (self.newer / name).unlink()

    def publish_new(self):
        self._serve(self.newer)

    def withdraw_new(self):
        self._serve(self.older)

    def _serve(self, state):
        # Keep the file's time, so that a restored state has the same validators as before.
        for file in state.iterdir():
            fresh = self.served / (file.name + ".fresh")
            shutil.copy2(file, fresh)
            os.replace(fresh, self.served / file.name)
