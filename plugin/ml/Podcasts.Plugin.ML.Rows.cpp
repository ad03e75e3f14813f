#include "Podcasts.Plugin.ML.Rows.h"

#include "VEXA.Runtime.Text.h"

#include <algorithm>
#include <unordered_map>

namespace podcasts {

using namespace vexa;

namespace {

// Rows that are skipped one by one without a thought: some 0.2 ms.
constexpr qint64 kNearOffset = 1000;
// Each holds four bytes for each of its rows.
constexpr std::size_t kMostKept = 4;

QString WithRange(const QString& sql, const TVEXAPodcastsMLStatement& statement) {
    return sql + u" LIMIT " + QString::number(statement.Offset) + u", " + QString::number(statement.Count);
}

}  // namespace

void TPodcastsRows::Close() {
    const std::lock_guard lock(FMutex);
    FReader.reset();
    FKept.clear();
    FText.Clear();
}

void TPodcastsRows::Open(const TPodcastsDB& db) {
    if (FReader && FReader->FileName() == db.FileName()) return;
    FReader = std::make_unique<SqliteReader>(db.FileName());
    FVersion = -1;
}

void TPodcastsRows::DropWhatChanged() {
    // The first read fixes the state that the snapshot shows; only then does the number belong to it.
    FReader->QueryInteger("SELECT Count(*) FROM sqlite_master");
    const qint64 version = FReader->DataVersion();
    if (version == FVersion) return;
    FVersion = version;
    FKept.clear();
    FText.Clear();
    FHasSmallIDs.reset();
    FHasOrphans.reset();
    FLastKey.clear();
}

bool TPodcastsRows::HasSmallIDs() {
    if (!FHasSmallIDs) {
        FHasSmallIDs = FReader->QueryInteger("SELECT ifnull(max(rowid), 0) FROM PodcastEpisodes") < (qint64{1} << 32) &&
                       FReader->QueryInteger("SELECT ifnull(min(rowid), 0) FROM PodcastEpisodes") >= 0;
    }
    return *FHasSmallIDs;
}

bool TPodcastsRows::HasOrphans() {
    if (!FHasOrphans) {
        // Goes from feed to feed by the index: as many steps as there are feeds, not episodes.
        FHasOrphans =
            FReader->QueryInteger(
                "WITH RECURSIVE Used(ID) AS (SELECT min(FeedID) FROM PodcastEpisodes UNION ALL SELECT (SELECT "
                "min(FeedID) FROM PodcastEpisodes WHERE FeedID > ID) FROM Used WHERE ID IS NOT NULL) "
                "SELECT EXISTS(SELECT 1 FROM PodcastEpisodes WHERE FeedID IS NULL) OR EXISTS(SELECT 1 FROM "
                "Used WHERE ID IS NOT NULL AND ID NOT IN (SELECT FeedID FROM PodcastFeeds))") != 0;
    }
    return *FHasOrphans;
}

TPodcastsRowPlan TPodcastsRows::PlanOf(const TVEXAPodcastsMLStatement& statement) {
    TPodcastsRowPlan plan = PlanRows(*FReader, statement);
    // The join leaves out episodes without a feed; the plan does not join.
    if (plan.IsKnown && (!HasSmallIDs() || HasOrphans())) plan.IsKnown = false;
    return plan;
}

auto TPodcastsRows::FindKept(const QString& rows, const QString& order) -> std::shared_ptr<const RowIDs> {
    const auto found = std::find_if(FKept.begin(), FKept.end(),
                                    [&](const KeptIDs& kept) { return kept.Rows == rows && kept.Order == order; });
    if (found == FKept.end()) return nullptr;
    FKept.splice(FKept.begin(), FKept, found);
    return found->IDs;
}

auto TPodcastsRows::Keep(const QString& rows, const QString& order, RowIDs ids) -> std::shared_ptr<const RowIDs> {
    FKept.push_front({rows, order, std::make_shared<const RowIDs>(std::move(ids))});
    if (FKept.size() > kMostKept) FKept.pop_back();
    return FKept.front().IDs;
}

auto TPodcastsRows::ReadIDs(const QString& sql) -> RowIDs {
    RowIDs ids;
    if (const auto cursor = FReader->Query(ToUtf8(sql))) do
            ids.push_back(static_cast<std::uint32_t>(cursor->Integer64(0)));
        while (cursor->Next());
    return ids;
}

auto TPodcastsRows::OrderedIDs(const TPodcastsRowPlan& plan) -> std::shared_ptr<const RowIDs> {
    if (auto kept = FindKept(plan.Conditions, plan.Order)) return kept;
    return Keep(plan.Conditions, plan.Order, ReadIDs(plan.IDs()));
}

auto TPodcastsRows::SearchedIDs(const TPodcastsRowPlan& plan, const TVEXAPodcastsMLStatement& statement)
    -> std::shared_ptr<const RowIDs> {
    const QString rows = plan.Conditions + statement.Search;
    if (auto kept = FindKept(rows, plan.Order)) return kept;
    const TPodcastsRowSet found = FText.Search(*FReader, statement.SearchText, statement.SearchedColumns);
    const auto all = OrderedIDs(plan);
    RowIDs ids;
    std::copy_if(all->begin(), all->end(), std::back_inserter(ids),
                 [&](std::uint32_t id) { return id < found.size() && found[id]; });
    return Keep(rows, plan.Order, std::move(ids));
}

std::unique_ptr<SqliteRows> TPodcastsRows::ReadPlain(const QString& sql) {
    const auto cursor = FReader->Query(ToUtf8(sql));
    if (!cursor) return nullptr;
    auto rows = std::make_unique<SqliteRowSet>();
    rows->Append(*cursor);
    return rows;
}

std::unique_ptr<SqliteRows> TPodcastsRows::ReadByIDs(const TVEXAPodcastsMLStatement& statement,
                                                     const std::uint32_t* ids, std::size_t count) {
    if (count == 0) return nullptr;
    QString sql = u"SELECT " + statement.Columns +
                  u", PodcastEpisodes.rowid FROM PodcastEpisodes CROSS JOIN PodcastFeeds WHERE "
                  u"(PodcastEpisodes.FeedID = PodcastFeeds.FeedID) AND PodcastEpisodes.rowid IN (";
    std::unordered_map<qint64, std::size_t> places;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) sql += u',';
        sql += QString::number(ids[i]);
        places.emplace(ids[i], i);
    }
    const auto cursor = FReader->Query(ToUtf8(QString(sql + u')')));
    if (!cursor) return nullptr;
    auto rows = std::make_unique<SqliteRowSet>();
    rows->Append(*cursor);
    std::vector<std::size_t> order(rows->RowCount());
    const int idColumn = rows->ColumnCount() - 1;
    for (std::size_t i = 0; i < order.size(); ++i) {
        rows->GoTo(i);
        order[places.at(rows->Integer64(idColumn))] = i;
    }
    rows->GoTo(0);
    rows->Reorder(order);
    rows->DropLastColumn();
    return rows;
}

std::unique_ptr<SqliteRows> TPodcastsRows::Read(const TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement) {
    const std::lock_guard lock(FMutex);
    Open(db);
    if (statement.Count <= 0 || statement.Offset < 0) return ReadPlain(statement.SQL);
    // One snapshot for all that follows: what another thread commits meanwhile is seen by the next request.
    const SqliteSnapshot snapshot(*FReader);
    DropWhatChanged();
    const TPodcastsRowPlan plan = PlanOf(statement);
    if (!plan.IsKnown) return ReadPlain(statement.SQL);
    std::shared_ptr<const RowIDs> ids;
    if (!statement.Search.isEmpty()) {
        if (!TPodcastsRowText::CanSearch(statement.SearchText, statement.SearchedColumns))
            return ReadPlain(statement.SQL);
        ids = SearchedIDs(plan, statement);
    } else if (!(ids = FindKept(plan.Conditions, plan.Order)) && plan.IsSorted) {
        // Sorting for one page near the top is quicker than sorting all; for a second page it is not.
        const QString key = plan.Conditions + plan.Order;
        const bool isAgain = std::exchange(FLastKey, key) == key;
        if (plan.IsOfFeed || isAgain || statement.Offset > kNearOffset) ids = OrderedIDs(plan);
    }
    if (ids) {
        const auto begin = std::min<std::size_t>(static_cast<std::size_t>(statement.Offset), ids->size());
        const auto count = std::min<std::size_t>(static_cast<std::size_t>(statement.Count), ids->size() - begin);
        return ReadByIDs(statement, ids->data() + begin, count);
    }
    if (plan.IsSorted) return ReadPlain(statement.SQL);
    const auto page = ReadIDs(WithRange(plan.IDs(), statement));
    return ReadByIDs(statement, page.data(), page.size());
}

qint64 TPodcastsRows::Count(const TPodcastsDB& db, const TVEXAPodcastsMLStatement& statement) {
    const std::lock_guard lock(FMutex);
    Open(db);
    const SqliteSnapshot snapshot(*FReader);
    DropWhatChanged();
    if (statement.Search.isEmpty()) {
        const QString sql = PlanCount(*FReader, statement);
        if (!sql.isEmpty() && !HasOrphans()) return FReader->QueryInteger(ToUtf8(sql));
    } else if (const TPodcastsRowPlan plan = PlanOf(statement);
               plan.IsKnown && TPodcastsRowText::CanSearch(statement.SearchText, statement.SearchedColumns)) {
        // In whatever order they were found for a page.
        const QString rows = plan.Conditions + statement.Search;
        for (const KeptIDs& kept : FKept)
            if (kept.Rows == rows) return static_cast<qint64>(kept.IDs->size());
        return static_cast<qint64>(SearchedIDs(plan, statement)->size());
    }
    return FReader->QueryInteger(ToUtf8(QString(
        u"SELECT Count(*) FROM PodcastEpisodes, PodcastFeeds WHERE (PodcastEpisodes.FeedID = PodcastFeeds.FeedID)" +
        statement.Conditions + statement.Search)));
}

}  // namespace podcasts
