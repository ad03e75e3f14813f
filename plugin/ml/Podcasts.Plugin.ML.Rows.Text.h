#pragma once
// Keeps the episodes' texts in memory, to search them while the user types.

#include "VEXA.Runtime.SQLite.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace podcasts {

/// The rows found by a search: one bit for each row id.
using TPodcastsRowSet = std::vector<bool>;

/// The texts of columns, in upper case. The owner calls Clear when the database has changed.
class TPodcastsRowText {
public:
    /// Whether comparing bytes finds `text` just as SQLite would: it has no wildcards and nothing else that SQLite
    /// treats specially.
    static bool CanSearch(const QString& text, const QStringList& columns);

    /// The episodes that contain `text` in one of the columns. Reads the columns that are not in memory yet.
    TPodcastsRowSet Search(vexa::SqliteReader& reader, const QString& text, const QStringList& columns);
    void Clear();

private:
    struct Column {
        std::string Texts;                     // all texts one after another, each ending in a zero
        std::vector<std::uint32_t> Begins;     // where each text begins
        std::vector<std::uint32_t> TextOfRow;  // the index of each row's text; empty if every row has its own text
    };

    void Load(vexa::SqliteReader& reader, const QStringList& columns);

    std::vector<std::uint32_t> FRowIDs;  // ascending
    std::map<QString, Column> FColumns;
};

}  // namespace podcasts
