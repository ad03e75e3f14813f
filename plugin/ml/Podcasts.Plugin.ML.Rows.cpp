#include "Podcasts.Plugin.ML.Rows.h"

#include "VEXA.Runtime.Text.h"

#include <algorithm>
#include <span>

namespace podcasts {

using namespace vexa;

namespace {

// Finding one page is faster than sorting all rows, as long as few rows precede the page.
constexpr qint64 kNearOffset = 1000;
// The number of kept lists of ids; each takes four bytes for each row.
constexpr std::size_t kMaxKept = 4;

const QString kSelectIDs = QStringLiteral("SELECT PodcastEpisodes.rowid");

bool IsSearchedInMemory(const TPodcastsRowRequest& request) {
    return !request.Search.Text.isEmpty() && TPodcastsRowText::CanSearch(request.Search.Text, request.Search.Columns);
}

/// The statement that reads the rows with these ids, in the order of the ids.
QString StatementOf(const QString& columns, std::span<const std::uint32_t> ids) {
    QString list;
    for (const std::uint32_t id : ids) list += QString::number(id) + u',';
    list.chop(1);
    return u"SELECT " + columns + u" FROM json_each('[" + list +
           u"]') AS Page CROSS JOIN PodcastEpisodes ON (PodcastEpisodes.rowid = Page.value) CROSS JOIN PodcastFeeds ON "
           u"(PodcastEpisodes.FeedID = PodcastFeeds.FeedID) ORDER BY Page.key";
}

}  // namespace

void TPodcastsRows::Close() {
    const TLock lock(FMutex);
    FReader.reset();
    FKept.clear();
    FText.Clear();
}

void TPodcastsRows::Open(const TPodcastsDB& db) {
    if (FReader && FReader->FileName() == db.FileName()) return;
    FReader = std::make_unique<SqliteReader>(db.FileName());
    FVersion = -1;
}

void TPodcastsRows::DropOutdated() {
    // The first read determines the state of the snapshot; only after it does the version belong to that state.
    FReader->QueryInteger("SELECT Count(*) FROM sqlite_master");
    const qint64 version = FReader->DataVersion();
    if (version == FVersion) return;
    FVersion = version;
    FIsRegular.reset();
    FKept.clear();
    FLastSorted.clear();
    FText.Clear();
}

bool TPodcastsRows::IsRegular() {
    // Episodes without a feed are not rows of the library, but the indexes contain them; and ids are kept in 32 bits.
    // The statement steps through the episodes' feeds by an index, in as many steps as there are feeds.
    if (!FIsRegular)
        FIsRegular =
            FReader->QueryInteger(
                "WITH RECURSIVE Used(ID) AS (SELECT min(FeedID) FROM PodcastEpisodes UNION ALL SELECT (SELECT "
                "min(FeedID) FROM PodcastEpisodes WHERE FeedID > ID) FROM Used WHERE ID IS NOT NULL) "
                "SELECT NOT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE FeedID IS NULL) AND NOT EXISTS(SELECT 1 FROM "
                "Used WHERE ID IS NOT NULL AND ID NOT IN (SELECT FeedID FROM PodcastFeeds)) AND "
                "(SELECT ifnull(min(rowid), 0) FROM PodcastEpisodes) >= 0 AND "
                "(SELECT ifnull(max(rowid), 0) FROM PodcastEpisodes) <= 0xFFFFFFFF") == 1;
    return *FIsRegular;
}

auto TPodcastsRows::FindKept(const QString& rows, const QString& order) -> SharedRowIDs {
    const auto found = std::find_if(FKept.begin(), FKept.end(),
                                    [&](const KeptIDs& kept) { return kept.Rows == rows && kept.Order == order; });
    if (found == FKept.end()) return nullptr;
    FKept.splice(FKept.begin(), FKept, found);
    return found->IDs;
}

auto TPodcastsRows::Keep(const QString& rows, const QString& order, RowIDs ids) -> SharedRowIDs {
    FKept.push_front({rows, order, std::make_shared<const RowIDs>(std::move(ids))});
    if (FKept.size() > kMaxKept) FKept.pop_back();
    return FKept.front().IDs;
}

auto TPodcastsRows::OrderedIDs(const QString& rows, const QString& order) -> SharedRowIDs {
    if (auto kept = FindKept(rows, order)) return kept;
    return Keep(rows, order, ReadIDs(kSelectIDs + rows + order));
}

auto TPodcastsRows::SearchedIDs(const TPodcastsRowRequest& request) -> SharedRowIDs {
    if (auto kept = FindKept(request.FoundRows, request.Order)) return kept;
    const TPodcastsRowSet found = FText.Search(*FReader, request.Search.Text, request.Search.Columns);
    const SharedRowIDs all = OrderedIDs(request.Rows, request.Order);
    RowIDs ids;
    std::copy_if(all->begin(), all->end(), std::back_inserter(ids),
                 [&](std::uint32_t id) { return id < found.size() && found[id]; });
    return Keep(request.FoundRows, request.Order, std::move(ids));
}

auto TPodcastsRows::AllIDs(const TPodcastsRowRequest& request) -> SharedRowIDs {
    if (IsSearchedInMemory(request)) return SearchedIDs(request);
    if (auto kept = FindKept(request.FoundRows, request.Order)) return kept;
    if (!request.IsOfFeed) {
        if (request.IsInIndexOrder) return nullptr;
        const QString sorted = request.FoundRows + request.Order;
        const bool isAgain = std::exchange(FLastSorted, sorted) == sorted;
        if (!isAgain && request.Offset <= kNearOffset) return nullptr;
    }
    return OrderedIDs(request.FoundRows, request.Order);
}

auto TPodcastsRows::ReadIDs(const QString& statement) -> RowIDs {
    RowIDs ids;
    if (const auto cursor = FReader->Query(ToUtf8(statement))) do
            ids.push_back(static_cast<std::uint32_t>(cursor->Integer64(0)));
        while (cursor->Next());
    return ids;
}

std::unique_ptr<SqliteRows> TPodcastsRows::ReadRows(const QString& statement) {
    const auto cursor = FReader->Query(ToUtf8(statement));
    if (!cursor) return nullptr;
    auto rows = std::make_unique<SqliteRowSet>();
    rows->Append(*cursor);
    return rows;
}

std::unique_ptr<SqliteRows> TPodcastsRows::Read(const TPodcastsDB& db, const TPodcastsRowRequest& request) {
    const TLock lock(FMutex);
    Open(db);
    // One snapshot for the whole request: the next request sees what another thread commits meanwhile.
    const SqliteSnapshot snapshot(*FReader);
    DropOutdated();
    if (request.Count == 0 || !IsRegular()) return ReadRows(request.Statement + request.Range);
    if (const SharedRowIDs all = AllIDs(request)) {
        const auto begin = std::min(static_cast<std::size_t>(request.Offset), all->size());
        const auto count = std::min(static_cast<std::size_t>(request.Count), all->size() - begin);
        return ReadRows(StatementOf(request.Columns, std::span(*all).subspan(begin, count)));
    }
    const RowIDs page = ReadIDs(kSelectIDs + request.FoundRows + request.Order + request.Range);
    return ReadRows(StatementOf(request.Columns, page));
}

qint64 TPodcastsRows::Count(const TPodcastsDB& db, const TPodcastsRowRequest& request) {
    const TLock lock(FMutex);
    Open(db);
    const SqliteSnapshot snapshot(*FReader);
    DropOutdated();
    if (!IsRegular())
        return FReader->QueryInteger(ToUtf8(QString(u"SELECT Count(*) FROM (" + request.Statement + u')')));
    for (const KeptIDs& kept : FKept)
        if (kept.Rows == request.FoundRows) return static_cast<qint64>(kept.IDs->size());
    if (IsSearchedInMemory(request)) return static_cast<qint64>(SearchedIDs(request)->size());
    return FReader->QueryInteger(ToUtf8(QString(u"SELECT Count(*)" + request.FoundRows)));
}

}  // namespace podcasts
