#include "Podcasts.Core.Backups.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Profile.h"
#include "VEXA.Runtime.SQLite.File.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QtEndian>

#include <algorithm>
#include <array>
#include <map>
#include <set>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonError;
using vexa::SqliteFile;

namespace {

const QString kEnding = QStringLiteral(".backup");
const QString kUnfinished = QStringLiteral(".new");
// In UTC and without colons, which some file systems do not allow: 2026-11-26T17-40-12Z.
const QString kDateFormat = QStringLiteral("yyyy-MM-ddTHH-mm-ssZ");
constexpr qint64 kMaxFileSize = 64 << 20;  // of a file other than the database; a larger one is none of settings

/// The date in the name of a file; invalid for any other file.
QDateTime DateOf(const QString& name) {
    if (!name.endsWith(kEnding)) return {};
    QDateTime date = QDateTime::fromString(name.chopped(kEnding.size()), kDateFormat);
    date.setTimeSpec(Qt::UTC);
    return date;
}

/// Compares the file's size with its header's page size and number of pages (SQLite's file format, "The Database
/// Header").
bool IsWhole(const QString& fileName) {
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) return false;
    const QByteArray header = file.read(100);
    if (header.size() < 100 || !header.startsWith(QByteArray("SQLite format 3\0", 16))) return false;
    const auto pageSize = qFromBigEndian<quint16>(header.constData() + 16);
    const auto pages = qFromBigEndian<quint32>(header.constData() + 28);
    return file.size() == static_cast<qint64>(pageSize == 1 ? 65536 : pageSize) * pages;
}

QStringList FilesOf(const QString& profileFolder) {
    QStringList files = QDir(profileFolder).entryList(QDir::Files, QDir::Name);
    files.removeIf([](const QString& name) { return !IsFileOfBackups(name); });
    return files;
}

void AddFiles(const QString& profileFolder, SqliteFile& copy) {
    const std::string table = kBackedUpFiles;
    copy.ExecuteSQL("CREATE TABLE IF NOT EXISTS " + table + " (Name TEXT PRIMARY KEY, Data BLOB); DELETE FROM " +
                    table);
    for (const QString& name : FilesOf(profileFolder)) {
        QFile file(QDir(profileFolder).filePath(name));
        if (file.size() > kMaxFileSize) continue;
        if (!file.open(QIODevice::ReadOnly))
            throw ReasonError(Reason(CoreReason("CannotRead"), {file.fileName(), vexa::FileReason(file)}));
        const QByteArray bytes = file.readAll();
        if (file.error() != QFileDevice::NoError)
            throw ReasonError(Reason(CoreReason("CannotRead"), {file.fileName(), vexa::FileReason(file)}));
        vexa::SqlBuilder insert("INSERT INTO ");
        insert.Raw(table).Raw(" VALUES (").Text(name).Raw(", ?)");
        copy.ExecuteWithBlob(insert.Sql(), bytes);
    }
}

/// A file that is removed unless it was renamed.
class UnfinishedFile {
public:
    explicit UnfinishedFile(QString name) : FName(std::move(name)) { Remove(); }
    ~UnfinishedFile() { Remove(); }
    UnfinishedFile(const UnfinishedFile&) = delete;
    UnfinishedFile& operator=(const UnfinishedFile&) = delete;

    const QString& Name() const { return FName; }

private:
    void Remove() const {
        for (const char16_t* ending : {u"", u"-journal", u"-wal", u"-shm"}) QFile::remove(FName + ending);
    }
    const QString FName;
};

}  // namespace

QString DatabaseFileName(const QString& profileFolder) {
    return QDir(profileFolder).filePath(QStringLiteral("Podcasts.db"));
}

QString BackupFolder(const QString& profileFolder) {
    return QDir(profileFolder).filePath(QStringLiteral("Backups"));
}

bool IsFileOfBackups(const QString& name) {
    return !name.startsWith(u'.') && !name.contains(u'/') && (name.endsWith(u".json") || name.endsWith(u".ini"));
}

QString TPodcastBackup::ShownDate() const {
    return Date.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

std::vector<TPodcastBackup> ListBackups(const QString& profileFolder) {
    std::vector<TPodcastBackup> backups;
    for (const QFileInfo& file : QDir(BackupFolder(profileFolder)).entryInfoList(QDir::Files)) {
        const QDateTime date = DateOf(file.fileName());
        if (!date.isValid()) continue;
        backups.push_back({file.filePath(), date, file.size(), IsWhole(file.filePath())});
    }
    std::sort(backups.begin(), backups.end(), [](auto& one, auto& other) { return one.Date > other.Date; });
    return backups;
}

std::optional<TPodcastBackup> FindBackup(const QString& profileFolder, const QString& date) {
    for (const TPodcastBackup& backup : ListBackups(profileFolder))
        if (backup.ShownDate().startsWith(date)) return backup;
    return std::nullopt;
}

std::vector<std::size_t> FindSuperfluousBackups(std::span<const TPodcastBackup> backups, qint64 limit) {
    enum Kind { Day, Week, Month, None };
    constexpr std::array<std::size_t, 3> kNumbers = {7, 4, 12};
    constexpr qint64 kRecent = 24 * 60 * 60;  // seconds
    std::vector<Kind> kinds(backups.size(), None);
    std::array<std::set<std::pair<int, int>>, 3> seen;
    for (std::size_t i = 0; i < backups.size(); ++i) {
        if (!backups[i].IsWhole) continue;
        const QDate date = backups[i].Date.toLocalTime().date();
        int yearOfWeek = 0;
        const int week = date.weekNumber(&yearOfWeek);
        const std::array<std::pair<int, int>, 3> periods = {
            {{date.year(), date.dayOfYear()}, {yearOfWeek, week}, {date.year(), date.month()}}};
        for (const Kind kind : {Month, Week, Day})
            if (seen[kind].size() < kNumbers[kind] && seen[kind].insert(periods[kind]).second) kinds[i] = kind;
        if (backups[i].Date.secsTo(backups[0].Date) < kRecent) kinds[i] = Day;
    }
    const auto newest = std::find_if(backups.begin(), backups.end(), [](auto& backup) { return backup.IsWhole; });
    const auto kept = static_cast<std::size_t>(newest - backups.begin());
    for (;;) {
        qint64 total = 0;
        std::array<int, 3> counts{};
        for (std::size_t i = 0; i < backups.size(); ++i) {
            if (kinds[i] == None) continue;
            total += backups[i].Size;
            if (i != kept) ++counts[kinds[i]];
        }
        const auto* const most = std::max_element(counts.begin(), counts.end());
        if (total <= limit || *most == 0) break;
        for (std::size_t i = backups.size(); i-- > 0;) {
            if (i == kept || kinds[i] != most - counts.begin()) continue;
            kinds[i] = None;
            break;
        }
    }
    std::vector<std::size_t> superfluous;
    for (std::size_t i = 0; i < backups.size(); ++i)
        if (kinds[i] == None) superfluous.push_back(i);
    return superfluous;
}

bool IsBackupDue(const QString& profileFolder, const QDateTime& now) {
    const QString database = DatabaseFileName(profileFolder);
    if (!QFileInfo::exists(database)) return false;
    const auto backups = ListBackups(profileFolder);
    const auto newest = std::find_if(backups.begin(), backups.end(), [](auto& backup) { return backup.IsWhole; });
    if (newest == backups.end()) return true;
    if (newest->Date.toLocalTime().date() == now.toLocalTime().date()) return false;
    if (newest->Date > now) return true;  // the clock was set back
    QStringList files{database};
    // Opening a database gives it a log, which is empty until something is written.
    if (const QString log = database + u"-wal"; QFileInfo(log).size() > 0) files += log;
    for (const QString& name : FilesOf(profileFolder)) files += QDir(profileFolder).filePath(name);
    return std::any_of(files.begin(), files.end(),
                       [&](const QString& file) { return QFileInfo(file).lastModified() >= newest->Date; });
}

void MakeBackupFile(const QString& profileFolder, const QString& fileName, const vexa::CancelCheck& isCancelled) {
    const QString database = DatabaseFileName(profileFolder);
    if (!QFileInfo::exists(database)) throw ReasonError(Reason(CoreReason("NothingToBackUp"), {profileFolder}));
    // Keeps the database and its log together.
    const vexa::FolderLock lock(profileFolder, vexa::FolderLock::Kind::Shared);
    lock.ThrowUnlessHeld();
    const UnfinishedFile unfinished(fileName + kUnfinished);
    {
        SqliteFile source(database, SqliteFile::Mode::Read, isCancelled);
        SqliteFile copy(unfinished.Name(), SqliteFile::Mode::New, isCancelled);
        copy.CopyFrom(source);
        // The copy has the pages of the source, so this checks both.
        if (const QStringList damage = copy.FindDamage(1); !damage.isEmpty())
            throw vexa::SqliteError(Reason(CoreReason("DatabaseDamage"), {database, damage[0]}),
                                    vexa::SqliteError::kDamage);
        AddFiles(profileFolder, copy);
    }
    vexa::FlushFile(unfinished.Name());
    vexa::RenameFile(unfinished.Name(), fileName);
}

TPodcastBackup MakeBackup(const QString& profileFolder, const QDateTime& now, std::optional<qint64> limit,
                          const vexa::CancelCheck& isCancelled) {
    const QString folder = BackupFolder(profileFolder);
    if (!QDir().mkpath(folder)) throw ReasonError(Reason(CoreReason("CannotCreateFolder"), {folder}));
    const vexa::FolderLock lock(folder, vexa::FolderLock::Kind::Exclusive);
    if (!lock.IsHeld()) throw ReasonError(Reason(CoreReason("BackupBusy")));
    // What a program left that was killed
    for (const QString& left : QDir(folder).entryList({u'*' + kEnding + kUnfinished + u'*'}, QDir::Files))
        QFile::remove(QDir(folder).filePath(left));
    TPodcastBackup made;
    made.Date = now.toUTC();
    do {
        made.FileName = QDir(folder).filePath(made.Date.toString(kDateFormat) + kEnding);
        made.Date = made.Date.addSecs(1);
    } while (QFileInfo::exists(made.FileName));
    made.Date = DateOf(QFileInfo(made.FileName).fileName());
    MakeBackupFile(profileFolder, made.FileName, isCancelled);
    made.Size = QFileInfo(made.FileName).size();
    if (!limit) return made;
    const auto backups = ListBackups(profileFolder);
    for (const std::size_t i : FindSuperfluousBackups(backups, *limit))
        if (!QFile::remove(backups[i].FileName))
            qCWarning(vexa::LogDatabase).noquote() << "cannot delete the old backup" << backups[i].FileName;
    return made;
}

}  // namespace podcasts
