// Matching of a document's episodes with stored ones: random series of documents are merged by the database and by a
// plain evaluation of the rules, which compares everything with everything.

#include "Podcasts.Core.DB.h"
#include "TempFolder.h"
#include "Texts.h"

#include <QRegularExpression>

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <set>

namespace podcasts {
namespace {

const QString kFeed = "http://h/feed.xml";

QString Compared(const QString& text) {
    static const QRegularExpression scheme("^[A-Za-z][A-Za-z0-9+.-]*(?=://)");
    return text.trimmed().remove(scheme);
}

struct Entry {
    QString GUID, Title, Audio;
    double Date = 0;

    bool HasGUID(const QString& guid) const { return Compared(GUID) == Compared(guid); }
    bool HasTitle() const { return !Title.isEmpty(); }
    bool HasTitleOf(const Entry& other) const { return Title.trimmed() == other.Title.trimmed(); }
    bool HasAddressOf(const Entry& other) const {
        return !Compared(Audio).isEmpty() && Compared(Audio) == Compared(other.Audio);
    }
    bool HasDateOf(const Entry& other) const { return Date != 0 && Date == other.Date; }
    QString StandInURI() const { return "podcast://h/feed.xml-/" + GUID; }
    QString URI() const {
        if (Audio.contains("time")) return StandInURI();
        return Audio.contains("://") ? "podcast" + Audio.mid(Audio.indexOf("://")) : Audio;
    }
    QString Text() const { return QStringList{GUID, Title, Audio, QString::number(Date)}.join('|'); }
};
using Document = std::vector<Entry>;

/// A stored episode of the plain evaluation.
struct PlainRow {
    Entry Data;
    QString URI, File;
    int State = pesNew;
    int Age = 0;  // larger for rows written later

    QString Text() const { return QStringList{URI, Data.Text(), QString::number(State), File}.join('|'); }
};

/// The rows as texts, whatever their order.
QStringList TextsOf(const std::vector<PlainRow>& rows) {
    QStringList texts;
    for (const PlainRow& row : rows) texts += row.Text();
    texts.sort();
    return texts;
}

/// The rules, word by word.
class PlainStore {
public:
    std::vector<PlainRow> Rows;
    QStringList Announced;   // GUIDs announced by the last merge
    QStringList SpareFiles;  // as reported by the last merge
    std::set<QString> Existing;

    void Merge(const Document& document) {
        Announced.clear();
        SpareFiles.clear();
        FDocument = document;
        int lastAge = 0;
        for (const PlainRow& row : Rows) lastAge = std::max(lastAge, row.Age);
        Document episodes;
        for (std::size_t i = 0; i < document.size(); ++i)
            if (Counts(i)) episodes.push_back(document[i]);
        std::vector<PlainRow*> found(episodes.size());
        const auto isOut = [&](const PlainRow& row) {
            return std::find(found.begin(), found.end(), &row) != found.end();
        };
        for (int rule = 1; rule <= 6; ++rule) {
            for (std::size_t i = 0; i < episodes.size(); ++i) {
                if (found[i]) continue;
                PlainRow* best = nullptr;
                for (PlainRow& row : Rows) {
                    if (isOut(row) || !Holds(rule, episodes[i], row)) continue;
                    const auto preference = [&](const PlainRow& r) {
                        const bool isKept = rule == 4 && (!r.File.isEmpty() || r.State != pesNew);
                        return std::make_tuple(isKept, r.URI == episodes[i].URI(), !Stands(r.Data), r.Age);
                    };
                    if (!best || preference(row) > preference(*best)) best = &row;
                }
                found[i] = best;
            }
        }

        std::set<const PlainRow*> gone;
        std::vector<PlainRow> after;
        for (std::size_t i = 0; i < episodes.size(); ++i) {
            const Entry& entry = episodes[i];
            if (!found[i]) {
                after.push_back({entry, entry.URI(), {}, pesNew, ++lastAge});
                if (!entry.Audio.isEmpty()) Announced += entry.GUID;
                continue;
            }
            PlainRow row = *found[i];
            if (row.Data.Audio.isEmpty() && !entry.Audio.isEmpty()) Announced += entry.GUID;
            std::vector<PlainRow*> twins;
            for (PlainRow& twin : Rows) {
                if (isOut(twin) || gone.contains(&twin) || !twin.Data.HasGUID(row.Data.GUID) || !Tells(row.Data.GUID))
                    continue;
                if (!twin.Data.HasTitleOf(row.Data) && !twin.Data.HasTitleOf(entry) && !twin.Data.HasDateOf(row.Data) &&
                    !twin.Data.HasDateOf(entry))
                    continue;
                if (Stands(twin.Data) && !twin.Data.HasAddressOf(entry)) continue;
                twins.push_back(&twin);
                gone.insert(&twin);
            }
            const int own = row.State;
            for (const PlainRow* twin : twins)
                if (own == pesNew && (twin->State == pesListened || row.State == pesNew))
                    row.State = twin->State == pesNew ? row.State : twin->State;
            for (auto twin = twins.rbegin(); twin != twins.rend(); ++twin)
                if (row.File.isEmpty() && Existing.contains((*twin)->File)) row.File = (*twin)->File;
            for (const PlainRow* twin : twins)
                if (Existing.contains(twin->File) && twin->File != row.File) SpareFiles += twin->File;
            row.URI = entry.Audio.isEmpty() ? KeptURI(*found[i], entry) : entry.URI();
            const QString address = entry.Audio.isEmpty() ? row.Data.Audio : entry.Audio;
            row.Data = entry;
            row.Data.Audio = address;
            after.push_back(row);
        }
        for (PlainRow& row : Rows) {
            const bool isReplaced = std::any_of(after.begin(), after.end(), [&](auto& r) { return r.URI == row.URI; });
            if (!isOut(row) && !gone.contains(&row) && !isReplaced) after.push_back(row);
        }
        Rows = std::move(after);
        SpareFiles.removeIf([&](const QString& file) {
            return std::any_of(Rows.begin(), Rows.end(), [&](const PlainRow& row) { return row.File == file; });
        });
        SpareFiles.removeDuplicates();
        SpareFiles.sort();
    }

private:
    bool Tells(const QString& guid) const {
        return std::count_if(FDocument.begin(), FDocument.end(), [&](auto& e) { return e.HasGUID(guid); }) == 1;
    }
    bool Stands(const Entry& row) const {
        return std::any_of(FDocument.begin(), FDocument.end(), [&](auto& e) { return e.HasAddressOf(row); });
    }
    /// Whether this item counts, of the document's items with the same URI.
    bool Counts(std::size_t item) const {
        std::size_t last = item, lastKnown = FDocument.size();
        for (std::size_t i = 0; i < FDocument.size(); ++i) {
            const Entry& entry = FDocument[i];
            if (entry.URI() != FDocument[item].URI()) continue;
            last = i;
            for (const PlainRow& row : Rows)
                if (entry.HasAddressOf(row.Data) && entry.HasGUID(row.Data.GUID)) lastKnown = i;
        }
        return item == (lastKnown < FDocument.size() ? lastKnown : last);
    }
    bool Holds(int rule, const Entry& entry, const PlainRow& stored) const {
        const Entry& row = stored.Data;
        const bool isSameGUID = entry.HasGUID(row.GUID), tells = Tells(entry.GUID), rowTells = Tells(row.GUID);
        switch (rule) {
            case 1:
                return (entry.HasAddressOf(row) || (entry.Audio.isEmpty() && row.Audio.isEmpty())) &&
                       entry.HasTitleOf(row) && (entry.HasDateOf(row) || isSameGUID);
            case 2:
                return entry.HasAddressOf(row) && isSameGUID && tells;
            case 3: {
                const bool differs = !entry.HasTitleOf(row) && entry.Date != 0 && row.Date != 0 &&
                                     entry.Date != row.Date && !entry.HasAddressOf(row);
                return isSameGUID && tells && !differs;
            }
            case 4:
                return entry.HasTitleOf(row) && entry.HasDateOf(row) && !rowTells &&
                       std::count_if(FDocument.begin(), FDocument.end(),
                                     [&](auto& e) { return e.HasTitleOf(entry) && e.Date == entry.Date; }) == 1;
            case 5:
                return entry.HasAddressOf(row) && !rowTells &&
                       (isSameGUID || (entry.HasTitle() && entry.HasTitleOf(row)) || entry.HasDateOf(row));
            default: {
                const auto hasTitle = [&](const Entry& e) { return e.HasTitleOf(entry); };
                return entry.HasTitle() && entry.HasTitleOf(row) &&
                       std::count_if(FDocument.begin(), FDocument.end(), hasTitle) == 1 &&
                       std::count_if(Rows.begin(), Rows.end(), [&](auto& r) { return hasTitle(r.Data); }) == 1 &&
                       (entry.Date == 0 || row.Date == 0) && !rowTells && FDocument.size() >= 5;
            }
        }
    }
    QString KeptURI(const PlainRow& row, const Entry& entry) const {
        const auto isOfDocument = [&](const QString& uri) {
            return std::any_of(FDocument.begin(), FDocument.end(), [&](auto& e) { return e.URI() == uri; });
        };
        if (row.URI.isEmpty() || !isOfDocument(row.URI)) return row.URI;
        const QString uri = entry.StandInURI();
        const bool isStored = std::any_of(Rows.begin(), Rows.end(), [&](auto& r) { return r.URI == uri; });
        return isStored || isOfDocument(uri) ? uri + '#' + QString::number(row.Age) : uri;
    }
    Document FDocument;
};

/// A publisher who changes a feed at random.
class Publisher {
public:
    explicit Publisher(unsigned seed) : FRandom(seed), FIsUndated(Chance(10)), FHasAlikeGUIDs(Chance(8)) {
        for (int i = Number(7); i >= 0; --i) FItems.push_back(NewItem());
    }

    int Number(int below) { return std::uniform_int_distribution(0, below - 1)(FRandom); }
    bool Chance(int in) { return Number(in) == 0; }

    Document Next() {
        for (int changes = Number(4); changes > 0 && !FItems.empty(); --changes) Change(Any(FItems));
        for (int added = Number(3); added > 1; --added) FItems.insert(FItems.begin(), NewItem());
        return FItems;
    }

private:
    void Change(Entry& item) {
        const auto forEach = [this](const auto& change) {
            for (Entry& each : FItems) change(each);
        };
        const std::function<void()> changes[] = {
            [&] { forEach([&](Entry& each) { each.Audio = WithToken(each.Audio); }); },
            [&] { forEach([&](Entry& each) { each.GUID = NewGUID(); }); },
            [&] { item.GUID = NewGUID(); },
            [&] { item.Title = NewTitle(); },
            [&] { item.Date = NewDate(); },
            [&] { item.Audio = NewAudio(); },
            [&] { std::swap(item.GUID, Any(FItems).GUID); },
            [&] { std::swap(item.Audio, Any(FItems).Audio); },
            [&] {
                FDropped.push_back(item);
                FItems.erase(FItems.begin() + (&item - FItems.data()));
            },
            [&] {
                if (!FDropped.empty()) FItems.push_back(Any(FDropped));
            },
            [&] { forEach([](Entry& each) { each.Audio.replace("http:", "https:"); }); },
            [&] { item.Audio.clear(); },
            [&] {
                item = {item.GUID, NewTitle(), NewAudio(), NewDate()};
            },
            [&] {  // the newest episode always has one address, and the previous one moves
                item.Audio = NewAudio();
                FItems.insert(FItems.begin(), NewItem());
                FItems.front().Audio = "http://h/latest.mp3";
            },
            [&] { forEach([](Entry& each) { each.GUID = ' ' + each.GUID; }); },
            [&] { forEach([](Entry& each) { each.Audio.replace("http://h/", "http://prefix/h/"); }); },
        };
        changes[Number(std::size(changes))]();
    }
    Entry& Any(Document& items) { return items[static_cast<std::size_t>(Number(static_cast<int>(items.size())))]; }
    Entry NewItem() { return {NewGUID(), NewTitle(), NewAudio(), NewDate()}; }
    // From small sets, so that what should distinguish episodes often does not.
    QString NewGUID() {
        return FHasAlikeGUIDs ? QString("same") : (Chance(6) ? "http://h/g" : "g") + QString::number(Number(30));
    }
    QString NewTitle() { return Chance(10) ? QString() : "Title " + QString::number(Number(12)); }
    double NewDate() { return FIsUndated || Chance(12) ? 0 : 45000 + Number(9); }
    QString NewAudio() {
        if (Chance(12)) return {};
        if (Chance(10)) return "http://h/time/" + QString::number(Number(4)) + ".mp3";
        if (Chance(6)) return "http://h/get?id=" + QString::number(Number(10));
        return "http://h/" + QString::number(Number(20)) + ".mp3";
    }
    QString WithToken(const QString& audio) {
        return audio.isEmpty() ? audio : audio.section("?t=", 0, 0) + "?t=" + QString::number(Number(1000));
    }

    std::mt19937 FRandom;
    const bool FIsUndated, FHasAlikeGUIDs;
    Document FItems, FDropped;
};

std::unique_ptr<TPodcastFeed> FeedOf(const Document& document) {
    auto feed = std::make_unique<TPodcastFeed>();
    feed->Fields[pffURLFeed] = kFeed;
    for (const Entry& entry : document) {
        TPodcastEpisode& episode = feed->NewEpisode();
        episode.Fields[pefGUID] = entry.GUID;
        episode.Fields[pefTitle] = entry.Title;
        episode.Fields[pefURLAudio] = entry.Audio;
        episode.PublishDate = entry.Date;
    }
    return feed;
}

class Identity : public testing::Test {
protected:
    Identity() {
        DB.ExecuteSQL("PRAGMA synchronous=OFF");
        for (int i = 0; i < 4; ++i) {
            const QString file = Folder.File(QString("there%1").arg(i));
            Plain.Existing.insert(file);
            WriteWhole(file, "x");
        }
    }

    /// Stores episodes again with another address, as the versions without older names did when an address changed.
    void StoreTwins(const char* title) {
        DB.ExecuteSQL(vexa::SqlBuilder("INSERT OR REPLACE INTO PodcastEpisodes (URI, FeedID, GUID, Title, URLAudio, "
                                       "URLAudioCached, State, PublishDate) SELECT URI || '?t=x', FeedID, GUID, ")
                          .Raw(title)
                          .Raw(", URLAudio || '?t=x', '', 1, PublishDate FROM PodcastEpisodes WHERE URLAudio <> '' AND "
                               "URLAudio NOT GLOB '*time*' AND rowid % 3"));
    }

    /// Changes marks and files at random, as the listener does between merges.
    void Listen(Publisher& random) {
        DB.RunInTransaction([&] {
            for (const PlainRow& row : Plain.Rows) {
                if (random.Chance(4)) DB.UpdateState({row.URI}, static_cast<TPodcastEpisodeState>(random.Number(3)));
                if (random.Chance(6)) {
                    const QString name = random.Chance(2) ? "there%1" : "gone%1";
                    DB.SetCachedFile(row.URI, Folder.File(name.arg(random.Number(4))));
                }
            }
        });
    }
    std::vector<PlainRow> Stored() {
        std::vector<PlainRow> rows;
        const auto cursor = DB.Query(
            "SELECT GUID, Title, URLAudio, PublishDate, URI, URLAudioCached, State, rowid "
            "FROM PodcastEpisodes ORDER BY rowid");
        if (cursor) do {
                const Entry entry{cursor->Text(0), cursor->Text(1), cursor->Text(2), cursor->Double(3)};
                rows.push_back({entry, cursor->Text(4), cursor->Text(5), cursor->Integer(6), cursor->Integer(7)});
            } while (cursor->Next());
        return rows;
    }
    /// Merges into both stores, which must be equal afterwards; returns the GUIDs that were announced.
    QStringList Merge(const Document& document) {
        QStringList shown;
        for (const Entry& entry : document) shown += entry.Text();
        SCOPED_TRACE(testing::Message() << "stored:\n"
                                        << TextsOf(Stored()).join('\n').toStdString() << "\ndocument:\n"
                                        << shown.join('\n').toStdString());
        TPodcastMergeResult result = DB.Merge(*FeedOf(document));
        Plain.Merge(document);
        EXPECT_EQ(TextsOf(Stored()), TextsOf(Plain.Rows));
        Plain.Rows = Stored();
        QStringList announced;
        for (const QString& key : result.NewEpisodes) announced += key.section(QChar(kEpisodeKeyDelimiter), 2);
        EXPECT_EQ(announced, Plain.Announced);
        result.SpareFiles.sort();
        EXPECT_EQ(result.SpareFiles, Plain.SpareFiles);
        return announced;
    }

    void RunSeries(unsigned seed) {
        SCOPED_TRACE(testing::Message() << "seed " << seed);
        Publisher publisher(seed);
        DB.Remove(kFeed);
        Plain.Rows.clear();
        DB.AddOrUpdate(*FeedOf(publisher.Next()));
        for (int round = 0; round < 4 && !HasFailure(); ++round) {
            if (publisher.Chance(8)) StoreTwins(publisher.Chance(2) ? "Title" : "'Title 1'");
            Plain.Rows = Stored();
            Listen(publisher);
            Plain.Rows = Stored();
            const Document document = publisher.Next();
            Merge(document);
            // Merging the same document again may still join rows by a GUID that only now belongs to one episode. A
            // third merge writes nothing at all.
            EXPECT_EQ(Merge(document), QStringList());
            const int writes = DB.QueryInteger("SELECT total_changes()");
            EXPECT_EQ(Merge(document), QStringList());
            EXPECT_EQ(DB.QueryInteger("SELECT total_changes()"), writes);
        }
    }

    tests::TempFolder Folder;
    TPodcastsDB DB{Folder.File("Podcasts.db")};
    PlainStore Plain;
};

TEST_F(Identity, RandomSeriesOfDocumentsMergeAsAPlainEvaluationOfTheRulesSays) {
    const int asked = qEnvironmentVariableIntValue("VEXA_TEST_SEEDS"), seeds = asked > 0 ? asked : 100;
    const unsigned first = qEnvironmentVariableIntValue("VEXA_TEST_FIRST_SEED");
    for (unsigned seed = first; seed < first + static_cast<unsigned>(seeds) && !HasFailure(); ++seed) RunSeries(seed);
}

}  // namespace
}  // namespace podcasts
