#include "Podcasts.Core.Salvage.h"

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Text.h"

#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>

#include <algorithm>
#include <deque>
#include <limits>
#include <utility>

namespace podcasts {

using vexa::SqlBuilder;
using vexa::SqliteError;
using vexa::SqliteFile;

namespace {

constexpr int kMaxFailures = 100'000;  // of looking for rows between damaged pages: some seconds
constexpr qint64 kUnknownRows = 4096;  // how far to look beyond the last row that is known
constexpr qint64 kFirst = std::numeric_limits<qint64>::min(), kLast = std::numeric_limits<qint64>::max();
constexpr int kNoLimit = -1;  // of time, in milliseconds

std::string Number(qint64 number) {
    return std::to_string(number);
}

/// An expression whose value is the literal of a column's value. Texts are written byte by byte, because they may
/// contain U+0000.
std::string LiteralOf(const std::string& column) {
    return "CASE typeof(" + column + ") WHEN 'text' THEN 'CAST(X''' || hex(" + column +
           ") || ''' AS TEXT)' ELSE quote(" + column + ") END";
}

std::string Assignment(const std::string& column, const std::string& literal) {
    std::string text = column;
    text += " = ";
    text += literal;
    return text;
}

std::string List(const std::vector<std::string>& parts) {
    std::string list;
    for (const std::string& part : parts) list.append(list.empty() ? "" : ", ").append(part);
    return list;
}

std::vector<std::string> ColumnsOf(SqliteFile& file, std::string_view table) {
    std::vector<std::string> columns;
    if (const auto row = file.Query("SELECT name FROM pragma_table_info('" + std::string(table) + "')")) do
            columns.emplace_back(row->Utf8(0));
        while (row->Next());
    return columns;
}

}  // namespace

std::string_view TPodcastSalvagedRow::operator[](std::string_view column) const {
    const auto found = Values.find(column);
    return found == Values.end() ? std::string_view("NULL") : std::string_view(found->second);
}

// ---- One table ----

TPodcastTableSalvage::TPodcastTableSalvage(SqliteFile& file, std::string_view table,
                                           const std::vector<std::string>& columns)
    : FFile(file), FTable(table) {
    const std::vector<std::string> present = ColumnsOf(file, table);
    for (const std::string& column : columns)
        if (std::find(present.begin(), present.end(), column) != present.end()) FColumns.push_back(column);
}

bool TPodcastTableSalvage::Read(const Visitor& visitor) {
    FVisitor = &visitor;
    if (FColumns.empty()) return false;
    const Stretch start = ReadRange(kFirst, kLast, false);
    if (start.IsWhole && DoIndexesAgree()) return true;
    const qint64 begin = FRead.empty() ? kFirst : start.Last + 1;
    const std::size_t before = FRead.size();
    const Stretch end = ReadRange(begin, kLast, true);
    ReadIndexes();
    qint64 last = 0;
    if (FRead.size() > before)
        last = end.Last - 1;
    else
        last = std::max(FIndexed.empty() ? 0 : FIndexed.rbegin()->first, FRead.empty() ? 0 : *FRead.rbegin()) +
               kUnknownRows;
    ReadBetween(FRead.size() > before || !FRead.empty() ? std::max<qint64>(begin, 1) : 1, last);
    // Rows that can only be found by their own ids, and what is known of the others
    for (const auto& [row, indexed] : FIndexed) {
        if (!FRead.contains(row)) ReadRange(row, row, false);
        if (!FRead.contains(row)) ReadColumns(row);
    }
    for (const auto& [id, row] : FDoubtful)
        if (FRead.insert(id).second) visitor(row);
    return false;
}

TPodcastTableSalvage::Stretch TPodcastTableSalvage::ReadRange(qint64 first, qint64 last, bool isDescending) {
    std::vector<std::string> expressions{"rowid"};
    for (const std::string& column : FColumns) expressions.push_back(LiteralOf(column));
    Stretch stretch;
    TPodcastSalvagedRow latest;  // visited once the next row shows that its id is in order
    bool hasLatest = false;
    const auto visitLatest = [&] {
        if (!std::exchange(hasLatest, false)) return;
        stretch.Last = latest.ID;
        if (FRead.insert(latest.ID).second) (*FVisitor)(latest);
    };
    try {
        const auto row =
            FFile.Query("SELECT " + List(expressions) + " FROM " + FTable + " NOT INDEXED WHERE rowid BETWEEN " +
                        Number(first) + " AND " + Number(last) + " ORDER BY rowid" + (isDescending ? " DESC" : ""));
        bool isInOrder = true;
        if (row) do {
                TPodcastSalvagedRow found;
                found.ID = row->Integer64(0);
                // A damaged page may be in the place of another, and lead back to rows that were read already; or the
                // id of the row before is damaged, and is another row's.
                isInOrder = found.ID >= first && found.ID <= last &&
                            (!hasLatest || (isDescending ? found.ID < latest.ID : found.ID > latest.ID));
                if (!isInOrder) break;
                for (std::size_t i = 0; i < FColumns.size(); ++i)
                    found.Values.emplace(FColumns[i], row->Utf8(static_cast<int>(i) + 1));
                visitLatest();
                latest = std::move(found);
                hasLatest = true;
            } while (row->Next());
        if (isInOrder) visitLatest();
        stretch.IsWhole = isInOrder;
    } catch (const SqliteError& error) {
        if (!error.IsOfDamage()) throw;
    }
    if (hasLatest) FDoubtful.try_emplace(latest.ID, std::move(latest));
    return stretch;
}

bool TPodcastTableSalvage::CanReachFirst(qint64 first, qint64 last) {
    try {
        FFile.Query("SELECT 1 FROM " + FTable + " NOT INDEXED WHERE rowid BETWEEN " + Number(first) + " AND " +
                    Number(last) + " ORDER BY rowid");
        return true;
    } catch (const SqliteError& error) {
        if (!error.IsOfDamage()) throw;
        return false;
    }
}

void TPodcastTableSalvage::ReadBetween(qint64 first, qint64 last) {
    // Breadth first, so that what can be read is found before the failures are too many.
    std::deque<std::pair<qint64, qint64>> ranges{{first, last}};
    for (int failures = 0; !ranges.empty() && failures < kMaxFailures; ++failures) {
        const auto [begin, end] = ranges.front();
        ranges.pop_front();
        if (begin > end) continue;
        const std::size_t before = FRead.size();
        const Stretch stretch = CanReachFirst(begin, end) ? ReadRange(begin, end, false) : Stretch();
        if (stretch.IsWhole) continue;
        if (begin == end) {
            ReadColumns(begin);
            continue;
        }
        const qint64 left = FRead.size() > before || stretch.Last >= begin ? std::max(stretch.Last + 1, begin) : begin;
        const qint64 middle = left + (end - left) / 2;
        ranges.emplace_back(left, middle);
        ranges.emplace_back(middle + 1, end);
    }
}

void TPodcastTableSalvage::ReadColumns(qint64 id) {
    TPodcastSalvagedRow found;
    const auto indexed = FIndexed.find(id);
    if (indexed != FIndexed.end()) found = indexed->second.Row;
    found.ID = id;
    found.IsWhole = false;
    bool isReached = false;
    try {
        // A single index may be wrong itself.
        isReached =
            static_cast<bool>(FFile.Query("SELECT rowid FROM " + FTable + " NOT INDEXED WHERE rowid = " + Number(id)));
        if (!isReached && (indexed == FIndexed.end() || indexed->second.Indexes < 2)) return;
    } catch (const SqliteError& error) {
        if (!error.IsOfDamage()) throw;
    }
    if (!isReached && !found.Values.empty()) {
        const auto isOfIndexes = [&found](const auto& doubtful) {
            return std::all_of(found.Values.begin(), found.Values.end(),
                               [&doubtful](const auto& value) { return doubtful.second[value.first] == value.second; });
        };
        const auto doubtful = std::find_if(FDoubtful.begin(), FDoubtful.end(), isOfIndexes);
        if (doubtful != FDoubtful.end()) {
            found.Values = std::move(doubtful->second.Values);
            found.IsWhole = true;
            FDoubtful.erase(doubtful);
        }
    }
    for (const std::string& column : FColumns) {
        if (!isReached) break;
        try {
            const auto row = FFile.Query("SELECT " + LiteralOf(column) + " FROM " + FTable +
                                         " NOT INDEXED WHERE rowid = " + Number(id));
            if (row) found.Values.insert_or_assign(column, std::string(row->Utf8(0)));
        } catch (const SqliteError& error) {
            if (!error.IsOfDamage()) throw;
        }
    }
    if (!found.Values.empty() && FRead.insert(id).second) (*FVisitor)(found);
}

bool TPodcastTableSalvage::DoIndexesAgree() {
    const std::vector<std::string> names = Indexes();
    const auto agrees = [this](const std::string& name) {
        try {
            const auto count = FFile.Query("SELECT Count(*) FROM " + FTable + " INDEXED BY " + name);
            return count && count->Integer64(0) == static_cast<qint64>(FRead.size());
        } catch (const SqliteError&) {
            return false;
        }
    };
    return !names.empty() && std::all_of(names.begin(), names.end(), agrees);
}

std::vector<std::string> TPodcastTableSalvage::Indexes() {
    std::vector<std::string> names;
    try {
        if (const auto row = FFile.Query("SELECT name FROM pragma_index_list('" + FTable + "') WHERE partial = 0")) do
                names.emplace_back(row->Utf8(0));
            while (row->Next());
    } catch (const SqliteError& error) {
        if (!error.IsOfDamage()) throw;
    }
    return names;
}

void TPodcastTableSalvage::ReadIndexes() {
    for (const std::string& name : Indexes()) {
        std::set<qint64> seen;
        for (const char* const order : {"ASC", "DESC"}) {
            try {
                std::vector<std::string> columns, expressions{"rowid"};
                if (const auto row = FFile.Query("SELECT name FROM pragma_index_info('" + name + "')")) do
                        columns.emplace_back(row->Utf8(0));
                    while (row->Next());
                for (const std::string& column : columns) expressions.push_back(LiteralOf(column));
                const auto row = FFile.Query("SELECT " + List(expressions) + " FROM " + FTable + " INDEXED BY " + name +
                                             " ORDER BY " + columns.front() + ' ' + order);
                if (row) do {
                        const qint64 id = row->Integer64(0);
                        if (id < 1 || FRead.contains(id) || !seen.insert(id).second) continue;
                        Indexed& indexed = FIndexed[id];
                        ++indexed.Indexes;
                        for (std::size_t i = 0; i < columns.size(); ++i)
                            indexed.Row.Values.emplace(columns[i], row->Utf8(static_cast<int>(i) + 1));
                    } while (row->Next());
                break;
            } catch (const SqliteError&) {
                // The index is damaged, or needs a collation or a table that cannot be used. Perhaps its other end can
                // be read.
            }
        }
    }
}

// ---- All tables ----

/// A table, and the columns by which the same row is found in another database.
struct TPodcastSalvagedTable {
    std::string_view Name;
    std::vector<std::string> Key;
    bool HasOwnNumbers = false;  // its row ids mean nothing
};

namespace {

const std::vector<TPodcastSalvagedTable>& Tables() {
    static const std::vector<TPodcastSalvagedTable> tables = {
        {"PodcastFeeds", {"FeedID"}},
        {"PodcastEpisodes", {}},
        {"PodcastFeedLogos", {"ID"}, true},
        {"PodcastEpisodeNames", {"ID"}},
        {"PodcastFeedLogoLooks", {"FeedID"}},
        {"PodcastQueue", {"EpisodeKey"}, true},
        {"PodcastFeedOptions", {"FeedID", "Name"}, true},
        {"PodcastFeedAddresses", {"URLFeed"}, true},
        {"PodcastListenedFiles", {"FileName"}, true},
    };
    return tables;
}

bool IsNumber(std::string_view literal) {
    return !literal.empty() && std::all_of(literal.begin(), literal.end(), [](char c) { return c >= '0' && c <= '9'; });
}

bool IsText(std::string_view literal) {
    return literal.starts_with("CAST(X'");
}

/// The text of a literal; empty for any other value.
QString TextOf(std::string_view literal) {
    if (!IsText(literal)) return {};
    const std::string_view digits = literal.substr(7, literal.find('\'', 7) - 7);
    const QByteArray bytes = QByteArray::fromHex(QByteArray(digits.data(), static_cast<qsizetype>(digits.size())));
    return vexa::FromUtf8({bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

bool IsState(std::string_view literal) {
    return literal == "0" || literal == "1" || literal == "2";
}

/// Whether the row is one of the table's at all, and no other bytes that only look like a row.
bool IsPlausible(std::string_view table, const TPodcastSalvagedRow& row) {
    if (row.ID < 1) return false;
    if (table == "PodcastFeeds") return IsText(row["URLFeed"]) && !TextOf(row["URLFeed"]).isEmpty();
    if (table == "PodcastEpisodes")
        return IsNumber(row["FeedID"]) && row["FeedID"] != "0" && (IsText(row["URI"]) || IsText(row["GUID"]));
    return true;
}

}  // namespace

TPodcastSalvage::TPodcastSalvage(const QString& target, const QString& damaged, const QString& recoverProgram,
                                 bool isLater)
    : FTarget(target, SqliteFile::Mode::Write), FIsLater(isLater) {
    FTarget.ExecuteSQL("BEGIN IMMEDIATE");
    try {
        SqliteFile file(damaged, SqliteFile::Mode::Read);
        SalvageTables(file, false);
        FTarget.RaiseSequences(file);
    } catch (const SqliteError& error) {
        if (!error.IsOfDamage()) throw;
        FIsComplete = false;
    }
    if (!FIsComplete && !recoverProgram.isEmpty()) Recover(damaged, recoverProgram);
    if (FIsLater && FCompleteTables.contains("PodcastFeeds"))
        for (const auto& [table, column] : {std::pair("PodcastEpisodes", "FeedID"), {"PodcastFeedLogos", "ID"}})
            FTarget.ExecuteSQL("DELETE FROM " + std::string(table) + " WHERE " + column +
                               " NOT IN (SELECT FeedID FROM PodcastFeeds)");
    FTarget.ExecuteSQL("COMMIT");
}

bool TPodcastSalvage::Taken::Add(const TPodcastSalvagedRow& row) {
    const bool isNew = Rows.insert(row.ID).second;
    if (row.IsWhole) return Parts.erase(row.ID) > 0 || isNew;
    if (isNew) Parts.insert(row.ID);
    return isNew;
}

void TPodcastSalvage::SalvageTables(SqliteFile& damaged, bool isRecovered) {
    for (const TPodcastSalvagedTable& table : Tables()) {
        const std::string name(table.Name);
        const std::vector<std::string> columns = ColumnsOf(FTarget, table.Name);
        Taken& taken = FTaken[name];
        // If the whole table can be read, nothing else counts; but that is known only at its end.
        const bool mayBeOnly = FIsLater && !isRecovered;
        bool isComplete = false;
        const auto read = [&](bool isOnly) {
            try {
                TPodcastTableSalvage salvage(damaged, table.Name, columns);
                isComplete = salvage.Read([&](const TPodcastSalvagedRow& row) {
                    if (!IsPlausible(table.Name, row) || !taken.Add(row)) return;
                    TakeRow(table, WithFeedOfTarget(table, row), isOnly);
                });
            } catch (const SqliteError& error) {
                if (!error.IsOfDamage()) throw;  // not even the list of tables can be read
            }
        };
        if (mayBeOnly) {
            FTarget.ExecuteSQL("SAVEPOINT Whole; DELETE FROM " + name);
            read(true);
            if (!isComplete) {
                FTarget.ExecuteSQL("ROLLBACK TO Whole");
                taken = {};
            }
            FTarget.ExecuteSQL("RELEASE Whole");
        }
        if (!isComplete) read(false);
        if (isComplete && !isRecovered) FCompleteTables.insert(name);
        if (!isRecovered) FIsComplete = FIsComplete && isComplete;
        if (name == "PodcastEpisodes") FReadEpisodes = static_cast<qint64>(taken.Rows.size());
    }
    // A feed whose row is lost is still known to the notes on its document.
    std::map<std::string, std::string> addresses;
    TPodcastTableSalvage(damaged, "PodcastFeedDocuments", {"FeedID", "URLFeed"})
        .Read([&](const TPodcastSalvagedRow& row) {
            if (IsNumber(row["FeedID"]) && IsText(row["URLFeed"])) addresses.emplace(row["FeedID"], row["URLFeed"]);
        });
    AddLostFeeds(addresses);
}

void TPodcastSalvage::AddLostFeeds(const std::map<std::string, std::string>& addresses) {
    if (FCompleteTables.contains("PodcastFeeds")) return;
    for (const auto& [id, address] : addresses) {
        SqlBuilder insert("INSERT INTO PodcastFeeds (FeedID, Name, URLFeed) SELECT ");
        insert.Raw(id).Raw(", ").Raw(address).Raw(", ").Raw(address);
        insert.Raw(" WHERE NOT EXISTS (SELECT 1 FROM PodcastFeeds WHERE FeedID = ").Raw(id);
        insert.Raw(" OR URLFeed = ").Raw(address);
        insert.Raw(") AND EXISTS (SELECT 1 FROM PodcastEpisodes WHERE FeedID = ").Raw(id).Raw(")");
        FTarget.ExecuteSQL(insert.Sql());
    }
}

std::string TPodcastSalvage::FindPresent(const TPodcastSalvagedTable& table, const TPodcastSalvagedRow& row) {
    const std::string from = "SELECT rowid FROM " + std::string(table.Name) + " WHERE ";
    std::vector<std::string> conditions;
    if (table.Key.empty()) {
        const std::string feed = "FeedID = " + std::string(row["FeedID"]);
        const std::string uri = " AND URI = " + std::string(row["URI"]);
        const std::string guid = " AND GUID = " + std::string(row["GUID"]) + " AND GUID <> ''";
        // The URI alone may be damaged, and be another episode's.
        conditions = {feed + " AND rowid = " + Number(row.ID) + uri,
                      feed + uri + (IsText(row["GUID"]) ? " AND GUID = " + std::string(row["GUID"]) : ""),
                      feed + " AND rowid = " + Number(row.ID) + guid};
        if (!IsText(row["URI"])) conditions.push_back(feed + guid);
    } else {
        std::string condition;
        for (const std::string& column : table.Key)
            condition.append(condition.empty() ? "" : " AND ").append(column + " IS " + std::string(row[column]));
        conditions = {condition};
        if (table.Name == "PodcastFeeds") {
            if (!FIsLater) conditions[0] += " AND Name IS " + std::string(row["Name"]);
            conditions.insert(FIsLater ? conditions.end() : conditions.begin(),
                              "URLFeed = " + std::string(row["URLFeed"]));
        }
    }
    for (const std::string& condition : conditions)
        if (const auto found = FTarget.Query(from + condition)) return Number(found->Integer64(0));
    return {};
}

TPodcastSalvagedRow TPodcastSalvage::WithFeedOfTarget(const TPodcastSalvagedTable& table,
                                                      const TPodcastSalvagedRow& row) const {
    TPodcastSalvagedRow moved = row;
    if (const auto other = FFeedIDs.find(row["FeedID"]); other != FFeedIDs.end() && table.Name != "PodcastFeeds")
        moved.Values.insert_or_assign("FeedID", other->second);
    return moved;
}

void TPodcastSalvage::TakeRow(const TPodcastSalvagedTable& table, const TPodcastSalvagedRow& row, bool isOnly) {
    const std::string present = isOnly ? std::string() : FindPresent(table, row);
    if (present.empty()) return AddRow(table, row, isOnly);
    if (table.Key.empty()) return MergeEpisode(row, std::stoll(present));
    if (table.Name == "PodcastFeeds" && present != row["FeedID"])
        FFeedIDs.emplace(row["FeedID"], present);  // subscribed to again since one of the two states
    if (!FIsLater) return;
    std::vector<std::string> changes;
    for (const auto& [column, literal] : row.Values)
        if (literal != "NULL" && std::find(table.Key.begin(), table.Key.end(), column) == table.Key.end() &&
            !(table.Name == "PodcastQueue" && column == "Place"))
            changes.push_back(Assignment(column, literal));
    if (!changes.empty())
        FTarget.ExecuteSQL("UPDATE OR IGNORE " + std::string(table.Name) + " SET " + List(changes) +
                           " WHERE rowid = " + present);
}

void TPodcastSalvage::AddRow(const TPodcastSalvagedTable& table, const TPodcastSalvagedRow& row, bool isOnly) {
    const std::string name(table.Name);
    const bool isEpisode = table.Key.empty();
    // Another feed may have got the number of this one since.
    const bool isRenumbered = name == "PodcastFeeds" && !isOnly &&
                              FTarget.Query("SELECT 1 FROM PodcastFeeds WHERE FeedID = " + std::string(row["FeedID"]));
    std::vector<std::string> columns, literals;
    for (const auto& [column, literal] : row.Values) {
        if (isRenumbered && column == "FeedID") continue;
        if (table.Name == "PodcastQueue" && column == "Place" && !isOnly) continue;
        if (isEpisode && column == "State") continue;
        columns.push_back(column);
        literals.push_back(literal);
    }
    if (isEpisode) {
        columns.emplace_back("State");
        literals.emplace_back(IsState(row["State"]) ? row["State"] : std::string_view("0"));
    }
    // A row keeps its id, by which other tables know it, unless another row has it by now.
    if (!table.HasOwnNumbers && !isRenumbered &&
        !FTarget.Query("SELECT 1 FROM " + name + " WHERE rowid = " + Number(row.ID)) &&
        std::find(columns.begin(), columns.end(), table.Key.empty() ? "rowid" : table.Key[0]) == columns.end()) {
        columns.emplace_back("rowid");
        literals.push_back(Number(row.ID));
    }
    const auto insert = [&] {
        FTarget.ExecuteSQL("INSERT OR IGNORE INTO " + name + " (" + List(columns) + ") VALUES (" + List(literals) +
                           ")");
        const auto changes = FTarget.Query("SELECT changes()");
        return changes && changes->Integer(0) > 0;
    };
    if (!insert() && isEpisode) {
        // Another row has the URI: either this one's is damaged, or both are one episode.
        const QString own = MakeURI(TextOf(row["URLAudio"])), uri = TextOf(row["URI"]);
        if (const auto column = std::find(columns.begin(), columns.end(), "URI");
            column != columns.end() && own != uri && !own.isEmpty()) {
            literals.at(static_cast<std::size_t>(column - columns.begin())) = SqlBuilder().Text(own).Sql();
            insert();
        } else if (const auto same =
                       isOnly ? nullptr
                              : FTarget.Query("SELECT rowid FROM PodcastEpisodes WHERE FeedID = " +
                                              std::string(row["FeedID"]) + " AND URI = " + std::string(row["URI"]))) {
            MergeEpisode(row, same->Integer64(0));
        }
    }
    if (!isRenumbered) return;
    if (const auto added =
            FTarget.Query("SELECT FeedID FROM PodcastFeeds WHERE URLFeed = " + std::string(row["URLFeed"])))
        FFeedIDs.emplace(row["FeedID"], Number(added->Integer64(0)));
}

void TPodcastSalvage::MergeEpisode(const TPodcastSalvagedRow& row, qint64 present) {
    const std::string here = " WHERE rowid = " + Number(present);
    int state = 0;
    QString file;
    if (const auto found = FTarget.Query("SELECT State, URLAudioCached FROM PodcastEpisodes" + here)) {
        state = found->Integer(0);
        file = found->Text(1);
    }
    const QString otherFile = TextOf(row["URLAudioCached"]);
    std::vector<std::string> changes, others;  // others: may make the row equal to another one, which is refused
    if (FIsLater) {
        for (const auto& [column, literal] : row.Values) {
            if (literal == "NULL" || column == "URLAudioCached" || column == "FeedID") continue;
            if (column == "State" && !IsState(literal)) continue;
            (column == "State" ? changes : others).push_back(Assignment(column, literal));
        }
        if (vexa::FileExists(otherFile) || !vexa::FileExists(file))
            if (row["URLAudioCached"] != "NULL")
                changes.push_back("URLAudioCached = " + std::string(row["URLAudioCached"]));
    } else {
        if (row["State"] == "0" || (row["State"] == "2" && state == 1))
            changes.push_back("State = " + std::string(row["State"]));
        if (!vexa::FileExists(file) && vexa::FileExists(otherFile))
            changes.push_back("URLAudioCached = " + std::string(row["URLAudioCached"]));
        // What the row lacks that was taken in part.
        for (const auto& [column, literal] : row.Values)
            if (literal != "NULL" && column != "URLAudioCached")
                others.push_back(
                    Assignment(column, SqlBuilder("ifnull(").Raw(column).Raw(", ").Raw(literal).Raw(")").Sql()));
    }
    for (const auto& list : {changes, others})
        if (!list.empty()) FTarget.ExecuteSQL("UPDATE OR IGNORE PodcastEpisodes SET " + List(list) + here);
}

// ---- Rows that no table leads to any more ----

void TPodcastSalvage::Recover(const QString& damaged, const QString& program) {
    // In a copy: the program writes to the file.
    const QTemporaryDir folder(QFileInfo(damaged).path() + u"/Recovering.XXXXXX");
    const QString copy = folder.filePath(QStringLiteral("damaged.db")),
                  statements = folder.filePath(QStringLiteral("statements.sql")),
                  recovered = folder.filePath(QStringLiteral("recovered.db"));
    QFile::copy(damaged, copy);
    QFile::copy(damaged + u"-wal", copy + u"-wal");
    const auto run = [&](const QStringList& arguments, const QString& input, const QString& output) {
        QProcess process;
        process.setStandardInputFile(input.isEmpty() ? QProcess::nullDevice() : input);
        process.setStandardOutputFile(output.isEmpty() ? QProcess::nullDevice() : output);
        process.setStandardErrorFile(QProcess::nullDevice());
        process.start(program, arguments);
        return process.waitForStarted() && process.waitForFinished(kNoLimit) && process.exitCode() == 0;
    };
    // Without the pages that are free: they hold what was deleted.
    const bool isWhole =
        run({QStringLiteral("-batch"), copy, QStringLiteral(".recover --ignore-freelist")}, {}, statements);
    // Of a failure, too: a part may have been written. Debian 12's program is built without what .recover needs.
    if (!run({QStringLiteral("-batch"), recovered}, statements, {}) || !isWhole)
        qCWarning(vexa::LogDatabase).noquote() << program << "has not recovered all rows";
    try {
        SqliteFile file(recovered, SqliteFile::Mode::Write);
        SalvageTables(file, true);
        SalvageLostRows(file);
    } catch (const SqliteError& error) {
        qCWarning(vexa::LogDatabase).noquote() << "not all could be recovered:" << error.what();
    }
}

void TPodcastSalvage::SalvageLostRows(SqliteFile& recovered) {
    if (!recovered.Query("SELECT 1 FROM sqlite_master WHERE name = 'lost_and_found'")) return;
    // Only feeds and episodes can be told from others: by the number of their columns and by the columns' kinds.
    for (const TPodcastSalvagedTable& table : Tables()) {
        if (table.Name != "PodcastFeeds" && table.Name != "PodcastEpisodes") continue;
        const std::vector<std::string> columns = ColumnsOf(FTarget, table.Name);
        std::vector<std::string> expressions{"id"};
        for (std::size_t i = 0; i < columns.size(); ++i)
            expressions.push_back(LiteralOf(std::string("c").append(std::to_string(i))));
        const auto lost = recovered.Query("SELECT " + List(expressions) + " FROM lost_and_found WHERE nfield = " +
                                          std::to_string(columns.size()) + " AND id > 0");
        if (!lost) continue;
        do {
            TPodcastSalvagedRow row;
            row.ID = lost->Integer64(0);
            for (std::size_t i = 0; i < columns.size(); ++i)
                row.Values.emplace(columns[i], lost->Utf8(static_cast<int>(i) + 1));
            if (table.Name == "PodcastFeeds") row.Values.insert_or_assign("FeedID", Number(row.ID));
            if (!IsPlausible(table.Name, row) || (!table.Key.empty() && !IsText(row["Name"]))) continue;
            if (table.Key.empty() && (!IsState(row["State"]) || !IsText(row["Title"]))) continue;
            if (FTaken[std::string(table.Name)].Add(row)) TakeRow(table, WithFeedOfTarget(table, row), false);
        } while (lost->Next());
    }
    FReadEpisodes = static_cast<qint64>(FTaken["PodcastEpisodes"].Rows.size());
}

}  // namespace podcasts
