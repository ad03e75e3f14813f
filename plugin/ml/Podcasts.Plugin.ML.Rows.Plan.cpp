#include "Podcasts.Plugin.ML.Rows.Plan.h"

#include "VEXA.Runtime.Text.h"

#include <QRegularExpression>

#include <optional>

namespace podcasts {

using namespace vexa;

namespace {

const QString kFeedSearch = QStringLiteral("SEARCH PodcastFeeds USING INTEGER PRIMARY KEY (rowid=?)");
const QString kTableScan = QStringLiteral("SCAN PodcastEpisodes");
const QString kOfFeed = QStringLiteral("PodcastEpisodes.FeedID IN (SELECT FeedID FROM PodcastFeeds WHERE URLFeed =");
const QString kSort = QStringLiteral("USE TEMP B-TREE FOR ORDER BY");
const QString kStateAndDateIndex = QStringLiteral("PodcastEpisodesByStateAndDate");
// Whose entries come by date within whatever conditions hold to one value.
const QString kDateIndexes[] = {QStringLiteral("PodcastEpisodesByDate"), kStateAndDateIndex,
                                QStringLiteral("PodcastEpisodesByFeedAndDate"),
                                QStringLiteral("PodcastEpisodesByFeedAndState")};

QStringList ExplainPlan(SqliteReader& reader, const QString& sql) {
    QStringList lines;
    if (const auto cursor = reader.Query("EXPLAIN QUERY PLAN " + ToUtf8(sql))) do
            lines += cursor->Text(3);
        while (cursor->Next());
    return lines;
}

/// The index by which the plan's first loop goes through the episodes; empty for none.
QString IndexOf(const QString& line) {
    static const QRegularExpression pattern(
        QStringLiteral("^(?:SCAN|SEARCH) PodcastEpisodes USING (?:COVERING )?INDEX (\\w+)"));
    return pattern.match(line).captured(1);
}

/// The statement's order with what tells equal rows apart; nothing when that cannot be told.
std::optional<QString> TotalOrder(const TVEXAPodcastsMLStatement& statement, const QStringList& plan) {
    // Each loop over the episodes finds the one feed of a row by its number: the loop's order is the rows' order.
    const bool isSorted = plan.size() == 3 && plan[2] == kSort;
    if (plan.size() < 2 || plan[1] != kFeedSearch || (plan.size() > 2 && !isSorted)) return {};
    static const QRegularExpression pattern(QStringLiteral("^ ORDER BY (\\w+)( DESC)?$"));
    const auto order = pattern.match(statement.Order);
    // A column that a condition holds to one value takes no part in the order, and what remains is another order.
    const QString column = order.captured(1);
    if (!statement.Order.isEmpty() && (!order.hasMatch() || statement.Conditions.contains(column))) return {};
    if (plan[0] == kTableScan) {
        // The sorter keeps equal rows in the order in which they came: by their ids.
        if (statement.Order.isEmpty()) return QStringLiteral(" ORDER BY PodcastEpisodes.rowid");
        return isSorted ? std::optional(statement.Order + u", PodcastEpisodes.rowid") : std::nullopt;
    }
    if (isSorted) return {};
    const QString index = IndexOf(plan[0]);
    const QString direction = order.captured(2);
    // An index holds equal entries by row id, and is walked in one direction.
    if (column == u"PublishDate" &&
        std::find(std::begin(kDateIndexes), std::end(kDateIndexes), index) != std::end(kDateIndexes))
        return QString(statement.Order + u", PodcastEpisodes.rowid" + direction);
    if (column == u"State" && index == kStateAndDateIndex)
        return QString(statement.Order + u", PublishDate" + direction + u", PodcastEpisodes.rowid" + direction);
    return {};
}

/// The same conditions in words that the indexes understand. What is replaced cannot stand inside a literal, where
/// every quote is doubled.
QString OverEpisodes(QString conditions) {
    // A number compares with the column of numbers by value, whatever the collation.
    static const QRegularExpression state(QStringLiteral("\\(State = '(\\d{1,9})' COLLATE NOCASE \\)"));
    conditions.replace(state, QStringLiteral("(State = '\\1')"));
    static const QRegularExpression feed(QStringLiteral("\\(PodcastFeeds\\.URLFeed = ('(?:[^']|'')+')\\)"));
    return conditions.replace(feed, u'(' + kOfFeed + u" \\1))");
}

}  // namespace

QString TPodcastsRowPlan::IDs() const {
    return u"SELECT PodcastEpisodes.rowid FROM PodcastEpisodes WHERE 1 = 1" + Conditions + Order;
}

TPodcastsRowPlan PlanRows(SqliteReader& reader, const TVEXAPodcastsMLStatement& statement) {
    TPodcastsRowPlan plan;
    try {
        // With its range: SQLite may sort for a short one, and go along an index for a long one.
        const auto order = TotalOrder(statement, ExplainPlan(reader, statement.SQL));
        if (!order) return plan;
        plan.Conditions = OverEpisodes(statement.Conditions);
        plan.Order = *order;
        plan.IsOfFeed = plan.Conditions.contains(kOfFeed);
        // One feed's rows are quicker sorted than picked out of all in their order.
        if (plan.IsOfFeed) plan.Order.replace(QLatin1String(" ORDER BY "), QLatin1String(" ORDER BY +"));
        // Conditions and order may need the feeds' columns after all.
        plan.IsSorted = ExplainPlan(reader, plan.IDs()).contains(kSort);
        plan.IsKnown = true;
    } catch (const SqliteError&) {
        // Groups may be nested so deeply that the statement is taken, but not when it is to be explained.
    }
    return plan;
}

QString PlanCount(SqliteReader& reader, const TVEXAPodcastsMLStatement& statement) {
    const QString conditions = OverEpisodes(statement.Conditions);
    // Without a condition SQLite counts the entries of the smallest index.
    const QString sql = u"SELECT Count(*) FROM PodcastEpisodes" +
                        (conditions.isEmpty() ? QString() : QString(u" WHERE 1 = 1" + conditions));
    try {
        // What is wrong in the statement itself may be right over one table.
        ExplainPlan(reader, statement.SQL);
        ExplainPlan(reader, sql);
        return sql;
    } catch (const SqliteError&) {
        return {};
    }
}

}  // namespace podcasts
