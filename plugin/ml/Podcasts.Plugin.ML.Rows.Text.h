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

/// Columns in upper case, one after the other. The owner throws it away when the database has changed.
class TPodcastsRowText {
public:
    /// Whether a search text is found by plain comparison of bytes: no wildcards, nothing that SQLite reads otherwise.
    static bool CanSearch(const QString& text, const QStringList& columns);

    /// The episodes that have the text in one of the columns. Reads the columns that are not there yet.
    TPodcastsRowSet Search(vexa::SqliteReader& reader, const QString& text, const QStringList& columns);
    void Clear();

private:
    // A column of texts that differ from row to row.
    struct Texts {
        std::string Bytes;                  // each row's text and a zero
        std::vector<std::uint32_t> Begins;  // by row, in the order of FRowIDs
    };
    // A column of texts that many rows share.
    struct SharedTexts {
        std::vector<std::string> Values;
        std::vector<std::uint32_t> Codes;  // by row
    };

    void Load(vexa::SqliteReader& reader, const QStringList& columns);

    std::vector<std::uint32_t> FRowIDs;  // ascending
    std::map<QString, Texts> FTexts;     // by column
    std::map<QString, SharedTexts> FShared;
};

}  // namespace podcasts
