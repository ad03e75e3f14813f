#pragma once
// A request for rows of the library, translated into the parts of SQL statements.
//
// The order of rows is total: rows that are equal by the sort keys are ordered by publishing date, then by row id, both
// in the direction of the last sort key; without a sort key rows are ordered by ascending row id. So every way of
// finding a page returns the same rows, and consecutive pages of any size return each row once.

#include "Podcasts.Plugin.ML.DataProvider.h"

#include <QString>

namespace podcasts {

struct TPodcastsRowRequest {
    /// One statement for all rows: correct whatever the database contains, but slow far down a long list.
    QString Statement;
    QString Range;  // " LIMIT 500, 100"; empty for all rows

    // The parts of faster statements, which are correct if every episode in the database has its feed.
    QString Columns;    // "Title, Name"
    QString Rows;       // " FROM PodcastEpisodes WHERE 1 = 1 AND (State = '1')": all conditions but the search
    QString FoundRows;  // the same with the search; equal to Rows if there is no search
    QString Order;      // " ORDER BY PublishDate DESC, PodcastEpisodes.rowid DESC"

    bool IsOfFeed = false;       // a condition selects one feed, so that there are few rows
    bool IsInIndexOrder = true;  // an index has the rows in this order; otherwise they have to be sorted
    vexa::TVEXAMLSQLAdapter::Search Search;
    qint64 Offset = 0;
    qint64 Count = 0;  // 0: no range, all rows
};

/// Throws as TVEXAMLSQLAdapter::Build does.
TPodcastsRowRequest ReadRowRequest(vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter);

}  // namespace podcasts
