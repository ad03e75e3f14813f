#include "Podcasts.Plugin.ML.Request.h"

#include <algorithm>

namespace podcasts {

using namespace vexa;

namespace {

using Builder = TVEXAPodcastsMLDataProviderTableQueryBuilder;
using SortKey = TVEXAMLSQLAdapter::SortKey;

const QString kDateColumn = QStringLiteral("PublishDate");
const QString kStateColumn = QStringLiteral("State");
const QString kRowID = QStringLiteral("PodcastEpisodes.rowid");
// What statements over the episodes alone may name. Whatever else is asked for, feeds are joined.
const QStringList kEpisodeColumns = {
    QStringLiteral("URI"), QStringLiteral("Title"),          QStringLiteral("Artist"), QStringLiteral("Duration"),
    kDateColumn,           QStringLiteral("URLAudioCached"), QStringLiteral("Format"), kStateColumn};

bool AreOfEpisodes(const QStringList& columns) {
    return std::all_of(columns.begin(), columns.end(),
                       [](const QString& column) { return kEpisodeColumns.contains(column, Qt::CaseInsensitive); });
}

bool IsColumn(const SortKey& key, const QString& column) {
    return key.Column.compare(column, Qt::CaseInsensitive) == 0;
}

/// Writes conditions in the words that the indexes understand.
class TRowIDBuilder final : public Builder {
public:
    bool NeedsFeeds() const { return FIsOfCategory || !AreOfEpisodes(ConditionColumns()); }
    bool IsOfFeed() const noexcept { return FIsOfFeed; }

protected:
    void AddComparison(const QString& field, const QString& value, std::int32_t operation) override {
        // States are numbers, to which a collation means nothing; but with one the index on them is not used.
        if (field == kStateColumn && operation == IVEXAMLFieldFilter::Equals)
            return Append(kStateColumn + u" = " + Literal(value));
        Builder::AddComparison(field, value, operation);
    }
    void AddNodeCondition(std::uint8_t category, const QString& value) override {
        if (category == pscFeed) {
            FIsOfFeed = true;
            return Append(u"PodcastEpisodes.FeedID IN (SELECT FeedID FROM PodcastFeeds WHERE URLFeed = " +
                          Literal(value) + u')');
        }
        FIsOfCategory = FIsOfCategory || category == pscCategory;
        Builder::AddNodeCondition(category, value);
    }

private:
    bool FIsOfFeed = false, FIsOfCategory = false;
};

void AddTieBreakers(std::vector<SortKey>& keys) {
    const bool isDescending = !keys.empty() && keys.back().IsDescending;
    const auto isDate = [](const SortKey& key) { return IsColumn(key, kDateColumn); };
    if (!keys.empty() && std::none_of(keys.begin(), keys.end(), isDate)) keys.push_back({kDateColumn, isDescending});
    keys.push_back({kRowID, isDescending});
}

/// An index on (PublishDate) or (State, PublishDate) holds equal entries by row id, and is walked in one direction.
bool AreInIndexOrder(const std::vector<SortKey>& keys) {
    for (const SortKey& key : keys)
        if (key.IsDescending != keys.front().IsDescending) return false;
    const auto isPair = [&](const QString& first, const QString& second) {
        return IsColumn(keys[0], first) && IsColumn(keys[1], second);
    };
    return keys.size() == 1 || (keys.size() == 2 && isPair(kDateColumn, kRowID)) ||
           (keys.size() == 3 && isPair(kStateColumn, kDateColumn));
}

}  // namespace

TPodcastsRowRequest ReadRowRequest(IVEXAObjectList* fields, IVEXAMLDataFilter* filter) {
    TPodcastsRowRequest request;
    request.Count = std::max(ReadPropertyInt32(filter, IVEXAMLDataFilter::Limit), 0);
    request.Offset = std::max(ReadPropertyInt32(filter, IVEXAMLDataFilter::Offset), 0);

    Builder whole;
    request.Search = whole.SearchOf(*filter, fields);
    std::vector<SortKey> order = whole.SortKeysOf(*filter);
    AddTieBreakers(order);
    whole.AddSelect(fields);
    whole.AddConditions(*filter, true);
    whole.AddSearch(request.Search);
    whole.AddOrder(order);
    request.Statement = whole.ToString();
    whole.AddRange(*filter);
    request.Range = whole.ToString().mid(request.Statement.size());

    Builder columns;
    columns.AddSelectList(fields);
    request.Columns = columns.ToString();
    if (request.Columns.isEmpty()) request.Columns = QStringLiteral("NULL");

    TRowIDBuilder rows;
    rows.AddConditions(*filter, true);
    const QString conditions = rows.ToString();
    rows.AddSearch(request.Search);
    QStringList sorted;
    for (const SortKey& key : order)
        if (key.Column != kRowID) sorted += key.Column;
    const bool needsFeeds = rows.NeedsFeeds() || !AreOfEpisodes(sorted);
    const bool searchNeedsFeeds = !request.Search.Text.isEmpty() && !AreOfEpisodes(request.Search.Columns);
    const auto from = [](bool isJoined) {
        return isJoined ? kFromEpisodesAndFeeds : QStringLiteral(" FROM PodcastEpisodes WHERE 1 = 1");
    };
    request.Rows = from(needsFeeds) + conditions;
    request.FoundRows = from(needsFeeds || searchNeedsFeeds) + rows.ToString();

    request.IsOfFeed = rows.IsOfFeed();
    request.IsInIndexOrder = AreInIndexOrder(order);
    // One feed's rows are quicker sorted than picked out of all rows in their order: the "+" keeps an index from being
    // used for the order.
    if (request.IsOfFeed) order.front().Column.prepend(u'+');
    Builder ordered;
    ordered.AddOrder(order);
    request.Order = ordered.ToString();
    return request;
}

}  // namespace podcasts
