"""The performance goals. Times are for two ordinary cores; ratios hold on any machine."""

from . import works

OURS = "podcasts"


def judge(results):
    def ran(work):
        return results.seconds(work, OURS)

    if ran(works.IMPORT):
        results.goal("first import against newsboat's", results.ratio(works.IMPORT, OURS, "newsboat"), 1 / 5)
        results.goal("first import against curl's fetch", results.ratio(works.IMPORT, OURS, "curl"), 3)
    if ran(works.UNCHANGED):
        results.goal("unchanged refresh against curl's fetch of everything",
                     results.ratio(works.UNCHANGED, OURS, "curl"), 0.3)
        results.goal("unchanged refresh against gpodder's", results.ratio(works.UNCHANGED, OURS, "gpodder"), 1 / 2)
    if ran(works.PLAIN):
        results.goal("the same, a site without validators", results.ratio(works.PLAIN, OURS, "curl"), 1.2)
    if ran(works.NEW):
        results.goal("refresh with new episodes against curl's fetch of everything",
                     results.ratio(works.NEW, OURS, "curl"), 0.75)
    if ran(works.BIG_IMPORT):
        results.goal("20,000 episodes: import", results.median(works.BIG_IMPORT, OURS), 2, "s")
        results.goal("20,000 episodes: peak memory", results.peak(works.BIG_IMPORT, OURS), 400, "MB")
    if ran(works.BIG_REFRESH):
        results.goal("20,000 episodes: refresh with one new", results.median(works.BIG_REFRESH, OURS), 0.6, "s")
    if ran(works.TOKENS):
        results.goal("20,000 episodes: every address another, against other bytes alone",
                     results.ratio(works.TOKENS, OURS, OURS, works.TOKENS_UNCHANGED), 2.5)
        results.goal("the file after 25 such refreshes against before", results.growth, 1.1)
    if ran(works.DISTANT):
        results.goal(works.DISTANT, results.median(works.DISTANT, OURS), 0.9, "s")
    if ran(works.TLS_IMPORT) and results.seconds(works.TLS_IMPORT, "newsboat"):
        results.goal("distant servers with TLS: import against newsboat's",
                     results.ratio(works.TLS_IMPORT, OURS, "newsboat"), 0.75)
        results.goal("distant servers with TLS: nothing new against newsboat's",
                     results.ratio(works.TLS_UNCHANGED, OURS, "newsboat"), 0.6)
    if ran(works.LIST):
        results.goal(works.LIST, results.median(works.LIST, OURS), 20, "s")
    if ran(works.DOWNLOAD):
        results.goal("download against curl's", results.ratio(works.DOWNLOAD, OURS, "curl"), 1.1)
    if ran(works.DOWNLOAD) and ran(works.SMALL_DOWNLOAD):
        results.goal("peak memory of 300 MB against 30 MB",
                     results.peak(works.DOWNLOAD, OURS) / results.peak(works.SMALL_DOWNLOAD, OURS), 1.1)
