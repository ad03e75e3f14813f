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
// The columns that statements over the episodes alone may use. For any other column the feeds are joined.
const QStringList kEpisodeColumns = {QStringLiteral("URI"),
                                     QStringLiteral("Title"),
                                     QStringLiteral("Artist"),
                                     QStringLiteral("Duration"),
                                     kDateColumn,
                                     QStringLiteral("URLAudioCached"),
                                     QStringLiteral("Format"),
                                     kStateColumn,
                                     kRowID};
// The orders in which an index has the rows: it keeps equal entries in the order of row ids, and is read in one
// direction.
const QStringList kIndexOrders[] = {{kRowID}, {kDateColumn, kRowID}, {kStateColumn, kDateColumn, kRowID}};

bool AreOfEpisodes(const QStringList& columns) {
    return std::all_of(columns.begin(), columns.end(),
                       [](const QString& column) { return kEpisodeColumns.contains(column); });
}

/// Writes conditions in a form for which SQLite can use the indexes.
class TRowIDBuilder final : public Builder {
public:
    bool NeedsFeeds() const { return FIsOfCategory || !AreOfEpisodes(ConditionColumns()); }
    bool IsOfFeed() const noexcept { return FIsOfFeed; }

protected:
    void AddComparison(const QString& field, const QString& value, std::int32_t operation) override {
        // States are numbers, so a collation has no effect, but it would keep SQLite from using the index.
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

/// A total order of rows.
class TOrder {
public:
    explicit TOrder(std::vector<SortKey> keys) : FKeys(std::move(keys)) {
        const bool isDescending = !FKeys.empty() && FKeys.back().IsDescending;
        if (!FKeys.empty() && !Columns().contains(kDateColumn)) FKeys.push_back({kDateColumn, isDescending});
        FKeys.push_back({kRowID, isDescending});
    }
    QStringList Columns() const {
        QStringList columns;
        for (const SortKey& key : FKeys) columns += key.Column;
        return columns;
    }
    bool IsOfIndex() const {
        return std::none_of(FKeys.begin(), FKeys.end(),
                            [&](const SortKey& key) { return key.IsDescending != FKeys.front().IsDescending; }) &&
               std::find(std::begin(kIndexOrders), std::end(kIndexOrders), Columns()) != std::end(kIndexOrders);
    }
    /// The ORDER BY clause. `isSorted`: sorting the selected rows is faster than filtering all rows in index order, so
    /// a
    /// "+" keeps SQLite from using an index for the order.
    QString ToString(bool isSorted = false) const {
        std::vector<SortKey> keys = FKeys;
        if (isSorted) keys.front().Column.prepend(u'+');
        Builder builder;
        builder.AddOrder(keys);
        return builder.ToString();
    }

private:
    std::vector<SortKey> FKeys;
};

/// Fills the parts of the statements that read row ids.
void ReadRowIDs(TPodcastsRowRequest& request, IVEXAMLDataFilter& filter, const TOrder& order) {
    TRowIDBuilder builder;
    builder.AddConditions(filter, true);
    const QString conditions = builder.ToString();
    builder.AddSearch(request.Search);
    const bool needsFeeds = builder.NeedsFeeds() || !AreOfEpisodes(order.Columns());
    const bool searchNeedsFeeds = !request.Search.Text.isEmpty() && !AreOfEpisodes(request.Search.Columns);
    const auto from = [](bool isJoined) {
        return isJoined ? kFromEpisodesAndFeeds : QStringLiteral(" FROM PodcastEpisodes WHERE 1 = 1");
    };
    request.Rows = from(needsFeeds) + conditions;
    request.FoundRows = from(needsFeeds || searchNeedsFeeds) + builder.ToString();
    request.IsOfFeed = builder.IsOfFeed();
    request.IsInIndexOrder = order.IsOfIndex();
    request.Order = order.ToString(request.IsOfFeed);
}

}  // namespace

TPodcastsRowRequest ReadRowRequest(IVEXAObjectList* fields, IVEXAMLDataFilter* filter) {
    Builder columns, whole, range;
    TPodcastsRowRequest request;
    request.Search = whole.SearchOf(*filter, fields);
    request.Count = std::max(ReadPropertyInt32(filter, IVEXAMLDataFilter::Limit), 0);
    request.Offset = std::max(ReadPropertyInt32(filter, IVEXAMLDataFilter::Offset), 0);
    columns.AddSelectList(fields);
    request.Columns = columns.ToString().isEmpty() ? QStringLiteral("NULL") : columns.ToString();
    range.AddRange(*filter);
    request.Range = range.ToString();

    const TOrder order(whole.SortKeysOf(*filter));
    whole.AddSelect(fields);
    whole.AddConditions(*filter, true);
    whole.AddSearch(request.Search);
    request.Statement = whole.ToString() + order.ToString();
    ReadRowIDs(request, *filter, order);
    return request;
}

}  // namespace podcasts
