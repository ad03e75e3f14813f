#pragma once
// A request for rows, as the library's pages are found by it.
//
// The order of rows is total: rows that are equal by the sort keys stand by publishing date, then by row id, both in
// the direction of the last sort key; without a sort key rows stand by row id upwards. So every way of finding a page
// gives the same rows, and pages of any size, one after the other, give each row once.

#include "Podcasts.Plugin.ML.DataProvider.h"

#include <QString>

namespace podcasts {

struct TPodcastsRowRequest {
    /// All rows by one statement: right whatever the database holds, but slow far down a long list.
    QString Statement;
    QString Range;  // " LIMIT 500, 100"; empty for all rows

    // The parts of which quicker statements are made, for a database in which every episode has its feed.
    QString Columns;    // "Title, Name"
    QString Rows;       // " FROM PodcastEpisodes WHERE 1 = 1 AND (State = '1')": all conditions but the search
    QString FoundRows;  // the same with the search; equal to Rows without one
    QString Order;      // " ORDER BY PublishDate DESC, PodcastEpisodes.rowid DESC"

    bool IsOfFeed = false;       // a condition names one feed, so that the rows are few
    bool IsInIndexOrder = true;  // an index holds the rows in their order; else they are sorted
    vexa::TVEXAMLSQLAdapter::Search Search;
    qint64 Offset = 0;
    qint64 Count = 0;  // 0: no range, all rows
};

/// Throws as TVEXAMLSQLAdapter::Build does.
TPodcastsRowRequest ReadRowRequest(vexa::IVEXAObjectList* fields, vexa::IVEXAMLDataFilter* filter);

}  // namespace podcasts
