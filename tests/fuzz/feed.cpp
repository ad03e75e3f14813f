// Reads and stores a feed's document as a refresh does.

#include "Podcasts.Core.DB.h"
#include "Podcasts.Core.Fetching.h"
#include "Podcasts.Core.Parsers.h"
#include "TempFolder.h"
#include "Texts.h"
#include "VEXA.Runtime.Encoding.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Threads.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <cstdio>
#include <cstdlib>
#include <iterator>

using namespace podcasts;

namespace {

/// Unless `holds`, prints the promise and stops the program; the fuzzer then keeps the input.
void Require(bool holds, const char* promise, const QString& what = {}) {
    if (holds) return;
    std::fprintf(stderr, "broken: %s: %s\n", promise, qPrintable(what));
    std::abort();
}

/// Thrown to roll back what an input has written.
struct Undo {};

class FeedStore {
public:
    QString Location() const { return FFolder.File(QStringLiteral("feed.xml")); }

    /// Every episode must be stored as it was parsed, and a second merge of the same document must write nothing.
    void Check(TPodcastFeed& feed) {
        try {
            FDatabase.RunInTransaction([&] {
                FDatabase.AddOrUpdate(feed);
                const auto stored = FDatabase.LoadStoredEpisodes(feed.ID);
                const auto matches = MatchEpisodes(feed, stored);
                for (const auto& match : matches) {
                    Require(match.Row >= 0, "an episode has a row", match.Episode->Fields[pefURLAudio]);
                    CheckRow(*match.Episode, stored.Rows()[static_cast<std::size_t>(match.Row)]);
                }
                Require(stored.Rows().size() == matches.size(), "one row an episode");
                const int writes = FDatabase.QueryInteger("SELECT total_changes()");
                Require(FDatabase.Merge(feed).NewEpisodes.isEmpty(), "nothing is new the second time");
                Require(FDatabase.QueryInteger("SELECT total_changes()") == writes, "what is the same is not written");
                throw Undo();
            });
        } catch (const Undo&) {
        }
    }

private:
    static void CheckRow(const TPodcastEpisode& episode, const TPodcastStoredEpisodes::Row& row) {
        for (const auto field : {pefGUID, pefTitle, pefDescription, pefURL, pefArtist, pefURLAudio})
            Require(vexa::FromUtf8(row.Fields[field]) == episode.Fields[field], "a text is stored as it is",
                    episode.Fields[field]);
        Require(row.PublishDate == episode.PublishDate, "a date is stored as it is");
        Require(static_cast<float>(row.Duration) == episode.Duration, "a duration is stored as it is");
    }

    tests::TempFolder FFolder;
    TPodcastsDB FDatabase{FFolder.File(QStringLiteral("Podcasts.db"))};
};

/// A damaged document whose last character is cut off must be refused, not taken for a shorter document.
void CheckCut(const vexa::XmlDocument& document, const QByteArray& bytes) {
    if (!document.IsRecovered() || !vexa::IsUtf8({bytes.constData(), static_cast<std::size_t>(bytes.size())})) return;
    bool isRefused = false;
    try {
        const vexa::XmlDocument cut(bytes.first(bytes.lastIndexOf('>')));
    } catch (const vexa::XmlError&) {
        isRefused = true;
    }
    Require(isRefused, "a document that was cut off is refused");
}

}  // namespace

/// Called by the fuzzer once, before the first input.
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv) {
    // Keep the program away from the user's own folders.
    static const tests::TempFolder home;
    for (const char* variable : {"HOME", "XDG_DATA_HOME", "XDG_CONFIG_HOME"})
        qputenv(variable, QFile::encodeName(home.Path()));
    QLoggingCategory::setFilterRules(QStringLiteral("podcasts.*=false\nvexa.*=false"));
    static const QCoreApplication application(*argc, *argv);
    vexa::AttachMainThread();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static FeedStore store;
    // The last byte selects the charset that the transport names; a document may end in any byte.
    static const char* const charsets[] = {"", "utf-16", "windows-1251", "Shift_JIS", "utf-7", "no such"};
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    WriteWhole(store.Location(), bytes);
    try {
        if (const auto feed = ParseFeedDocument(LoadFeedDocument(store.Location(), {}), store.Location()))
            store.Check(*feed);
        const char* charset = charsets[size > 0 ? data[size - 1] % std::size(charsets) : 0];
        const vexa::XmlDocument document(bytes, QString::fromLatin1(charset));
        if (charset[0] == '\0') CheckCut(document, bytes);
        const auto fetched = TPodcastParser::ParseDocument(document, QStringLiteral("http://example.org/feed.xml"));
        if (!fetched || charset[0] == '\0') return 0;
        fetched->Fields[pffURLFeed] = store.Location();
        store.Check(*fetched);
    } catch (const vexa::XmlError&) {
    }
    return 0;
}
