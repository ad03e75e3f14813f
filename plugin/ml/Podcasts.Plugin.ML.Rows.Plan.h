#pragma once
// How a statement of the library can be run in another way that gives the same rows in the same order.

#include "Podcasts.Plugin.ML.DataProvider.h"
#include "VEXA.Runtime.SQLite.h"

#include <QString>
#include <QStringList>

namespace podcasts {

/// What is known of a statement's rows. All texts follow "SELECT … FROM PodcastEpisodes WHERE 1 = 1".
struct TPodcastsRowPlan {
    bool IsKnown = false;   // false: run the statement as it stands
    bool IsSorted = false;  // no index gives the order: all rows are sorted for each page
    bool IsOfFeed = false;  // the rows are those of one feed: few
    QString Conditions;     // over episodes alone, without the search
    QString Order;          // total: equal rows are told apart as SQLite does for the statement

    QString IDs() const;
};

/// Looks at SQLite's plan for the statement. Gives an unknown plan for whatever it does not understand, a statement that
/// is none included.
TPodcastsRowPlan PlanRows(vexa::SqliteReader& reader, const TVEXAPodcastsMLStatement& statement);

/// A statement that counts the rows without looking at each one's feed. Right only while no episode lacks its feed.
/// Empty when there is none.
QString PlanCount(vexa::SqliteReader& reader, const TVEXAPodcastsMLStatement& statement);

}  // namespace podcasts
