#pragma once
// The text of the episodes in memory, to be searched as one types.

#include "VEXA.Runtime.SQLite.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace podcasts {

/// Which rows a search finds: one bit for each row id.
using TPodcastsRowSet = std::vector<bool>;

/// Columns in upper case. The owner throws it away when the database has changed.
class TPodcastsRowText {
public:
    /// Whether a search text is found by plain comparison of bytes: no wildcards, nothing that SQLite reads otherwise.
    static bool CanSearch(const QString& text, const QStringList& columns);

    /// The episodes that have the text in one of the columns. Reads the columns that are not there yet.
    TPodcastsRowSet Search(vexa::SqliteReader& reader, const QString& text, const QStringList& columns);
    void Clear();

private:
    struct Column {
        std::string Texts;                     // one after the other, each with a zero at its end
        std::vector<std::uint32_t> Begins;     // of the texts
        std::vector<std::uint32_t> TextOfRow;  // by row; empty: every row has a text of its own
    };

    void Load(vexa::SqliteReader& reader, const QStringList& columns);

    std::vector<std::uint32_t> FRowIDs;  // ascending
    std::map<QString, Column> FColumns;
};

}  // namespace podcasts
