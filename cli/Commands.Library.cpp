#include "Commands.h"

#include "Podcasts.Core.ForeignLibraries.h"
#include "Podcasts.Core.LibraryDocument.h"
#include "Podcasts.Core.MovedFiles.h"
#include "Podcasts.Core.ProfileFiles.h"
#include "Podcasts.Core.Subscribing.h"
#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Url.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <algorithm>
#include <optional>

namespace podcasts::cli {

namespace {

constexpr qint64 kMostBytes = qint64(2) << 30;  // of a library
const QString kEverything = QStringLiteral("--everything"), kSettings = QStringLiteral("--settings"),
              kFrom = QStringLiteral("--from"), kDryRun = QStringLiteral("--dry-run");

[[noreturn]] void FailToRead(const QString& fileName, const QString& why) {
    throw std::runtime_error(QStringLiteral("cannot read %1: %2").arg(fileName, why).toStdString());
}

// ---- Settings ----

/// Whether a key is taken along: all are, but not what the client itself writes down, such as the last refresh.
bool IsSetting(const QString& key) {
    const auto keys = PodcastConfigKeys();
    return std::none_of(keys.begin(), keys.end(), [&](auto& each) { return each.KeyPath() == key && !each.IsOption; });
}

TPodcastSettings SettingsOf(const Session& session) {
    TPodcastSettings settings;
    const vexa::SettingsFile file(vexa::SettingsFileName(session.Folder()));
    for (auto each = file.Values().begin(); each != file.Values().end(); ++each)
        if (IsSetting(each.key())) settings.emplace(each.key(), each.value());
    return settings;
}

/// Whether a document's setting can be written: its key is one, and a folder for downloads is a full name.
bool IsUsable(const QString& key, const QString& value) {
    constexpr qsizetype kLongestKey = 500, kLongestValue = 1 << 20;
    static constexpr QStringView kSyntax = u"=[];#";
    const bool isKey = !key.isEmpty() && key.size() <= kLongestKey && value.size() <= kLongestValue &&
                       key == key.trimmed() &&
                       std::none_of(key.begin(), key.end(), [](QChar c) { return c < u' ' || kSyntax.contains(c); });
    const auto keys = PodcastConfigKeys();
    const auto known = std::find_if(keys.begin(), keys.end(), [&](auto& each) { return each.KeyPath() == key; });
    const bool isFileName = known != keys.end() && known->Type == TPodcastConfigKey::Kind::FileName;
    return isKey && IsSetting(key) && (!isFileName || QDir::isAbsolutePath(QString(value).replace(u'\\', u'/')));
}

/// Writes a document's settings; those of the profile stay unless the user asks for the document's.
void TakeSettings(Session& session, const TPodcastSettings& taken, bool isAskedFor) {
    const TPodcastSettings present = SettingsOf(session);
    const bool isSame = std::all_of(taken.begin(), taken.end(), [&](const auto& setting) {
        const auto own = present.find(setting.first);
        return own != present.end() && own->second == setting.second;
    });
    if (isSame) return;
    if (!present.empty() && !isAskedFor) {
        session.Out().PrintLine(
            QStringLiteral("the profile keeps its settings; those of the file are taken with %1").arg(kSettings));
        return;
    }
    vexa::SettingsFile file(vexa::SettingsFileName(session.Folder()));
    for (const auto& [key, value] : taken)
        if (IsUsable(key, value)) file.Write(key, value);
    file.Save();
    session.Out().PrintLine(QStringLiteral("took the settings"));
}

// ---- Reports ----

QString Counted(qint64 count, const char* singular, const char* plural) {
    return QString::number(count) + u' ' + QString::fromLatin1(count == 1 ? singular : plural);
}

/// Prints what has changed, and what could not be taken. Returns the exit status.
int Report(Session& session, const TPodcastJoinedLibrary& joined, qsizetype queued,
           const std::vector<TPodcastJoinedFile>& files) {
    QStringList done;
    const auto add = [&](qint64 count, const char* singular, const char* plural) {
        if (count > 0) done += Counted(count, singular, plural);
    };
    add(joined.NewFeeds, "subscription", "subscriptions");
    add(joined.Episodes, "episode", "episodes");
    add(joined.Marks, "mark", "marks");
    add(joined.Files, "file", "files");
    add(joined.Options, "option of a podcast", "options of podcasts");
    add(queued, "queued download", "queued downloads");
    for (const TPodcastJoinedFile& file : files)
        done += QStringLiteral("%1 of %2").arg(Counted(file.Added + file.Replaced, "entry", "entries"), file.Name);
    if (!done.isEmpty())
        session.Out().PrintLine(u"took over " + done.join(u", "));
    else if (joined.Feeds == 0 && joined.Refused.isEmpty())
        session.Out().PrintLine(QStringLiteral("everything is here already"));
    if (joined.MissingFiles > 0)
        session.Out().PrintLine(Counted(joined.MissingFiles, "file is", "files are") +
                                u" not here, and not recorded: podcasts import takes them when they are");
    for (const QString& address : joined.Refused)
        session.Out().PrintError(u"cannot subscribe to " + OneLine(vexa::MaskedUrl(address)) +
                                 u": this is neither a web address nor the full name of an .xml file");
    return joined.Refused.isEmpty() && !joined.IsCancelled ? kDone : kFailed;
}

/// Joins the player's files, which a player that has the profile open would overwrite.
std::vector<TPodcastJoinedFile> TakeProfileFiles(Session& session, const QJsonObject& taken, int& status) {
    if (taken.isEmpty()) return {};
    try {
        if (!session.IsOpenElsewhere()) return JoinProfileFiles(session.Folder(), taken);
        session.Out().PrintError(
            QStringLiteral("another program has the profile open: its positions and playlists stay as they are; close "
                           "it and import again"));
    } catch (const std::exception& error) {
        session.Out().PrintError(QString::fromUtf8(error.what()));
    }
    status = kFailed;
    return {};
}

TPodcastJoinedLibrary JoinFeeds(Session& session, std::size_t count,
                                const std::function<TPodcastTakenFeed(std::size_t)>& feedAt) {
    return JoinLibrary(
        session.DB(), count,
        [&](std::size_t index) {
            session.Out().ShowStatus(QStringLiteral("importing: %1 of %2").arg(index).arg(count));
            return feedAt(index);
        },
        [&] { return session.IsInterrupted(); });
}

int ImportLibrary(Session& session, const QByteArray& bytes, const QString& fileName, bool withSettings) {
    std::optional<TPodcastLibraryDocument> document;
    try {
        document.emplace(bytes);
    } catch (const TPodcastLibraryError& error) {
        FailToRead(fileName, QString::fromUtf8(error.what()));
    }
    int status = kDone;
    const auto joined =
        JoinFeeds(session, document->FeedCount(), [&](std::size_t index) { return document->Feed(index); });
    if (joined.IsCancelled) return Report(session, joined, 0, {});
    const qsizetype queued = JoinKeptQueue(session.DB(), document->Queue());
    const auto files = TakeProfileFiles(session, document->ProfileFiles(), status);
    TakeSettings(session, document->Settings(), withSettings);
    return std::max(status, Report(session, joined, queued, files));
}

int ImportForeignLibrary(Session& session, const QString& program, const QString& fileName) {
    TPodcastForeignLibrary library;
    try {
        library = ReadForeignLibrary(program, fileName);
    } catch (const TPodcastLibraryError& error) {
        FailToRead(fileName, QString::fromUtf8(error.what()));
    }
    int status = kDone;
    session.Out().PrintLine(QStringLiteral("%1, schema %2").arg(program).arg(library.Schema));
    const auto joined =
        JoinFeeds(session, library.Feeds.size(), [&](std::size_t index) { return std::move(library.Feeds[index]); });
    const auto files = joined.IsCancelled ? std::vector<TPodcastJoinedFile>()
                                          : TakeProfileFiles(session, library.ProfileFiles, status);
    status = std::max(status, Report(session, joined, 0, files));
    for (const QString& line : library.NotTaken) session.Out().PrintLine(u"not taken: " + line);
    return status;
}

}  // namespace

void CheckImport(const Arguments& arguments) {
    if (!arguments.Has(kFrom)) return;
    if (!ForeignPrograms().contains(arguments.Options.at(kFrom)))
        throw UsageError(kFrom + u" is " + ForeignPrograms().join(u" or "));
    if (arguments.Has(kSettings)) throw UsageError(QStringLiteral("the settings of other programs cannot be taken"));
}

int RunImport(Session& session, const Arguments& arguments) {
    const QString& fileName = arguments.Operands.first();
    if (arguments.Has(kFrom)) return ImportForeignLibrary(session, arguments.Options.at(kFrom), fileName);
    QFile file(fileName);
    // A device or pipe can be read only once.
    const bool isPlain = QFileInfo(fileName).isFile() && file.open(QIODevice::ReadOnly);
    constexpr qint64 kBeginning = 1024;
    const QByteArray beginning = isPlain ? file.peek(kBeginning) : QByteArray();
    if (beginning.startsWith("SQLite format 3"))
        FailToRead(fileName, u"it is a database; say whose it is with " + kFrom);
    if (!TPodcastLibraryDocument::BeginsLikeOne(beginning)) return ImportOpml(session, fileName);
    if (file.size() > kMostBytes) FailToRead(fileName, QStringLiteral("it has more than 2 GiB"));
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) FailToRead(fileName, vexa::FileReason(file).English());
    return ImportLibrary(session, bytes, fileName, arguments.Has(kSettings));
}

int RunExport(Session& session, const Arguments& arguments) {
    const QString fileName = arguments.Operands.value(0);
    if (!arguments.Has(kEverything)) {
        if (fileName.isEmpty())
            session.Out().Print(QString::fromUtf8(ExportOpml(session.Client())));
        else
            WriteOpmlFile(session.Client(), fileName);
        return kDone;
    }
    const TPodcastSettings settings = SettingsOf(session);
    const QJsonObject files = ReadProfileFiles(session.Folder());
    if (fileName.isEmpty()) {
        WriteLibraryDocument(session.DB(), settings, files,
                             [&](const QByteArray& bytes) { session.Out().Print(QString::fromUtf8(bytes)); });
        return kDone;
    }
    QSaveFile file(fileName);
    const auto require = [&](bool isDone) {
        if (!isDone)
            throw std::runtime_error(
                QStringLiteral("cannot write %1: %2").arg(fileName, vexa::FileReason(file).English()).toStdString());
    };
    require(file.open(QIODevice::WriteOnly));
    WriteLibraryDocument(session.DB(), settings, files, [&](const QByteArray& bytes) {
        if (session.IsInterrupted()) throw OutputEnded();
        require(file.write(bytes) == bytes.size());
    });
    require(file.commit());
    return kDone;
}

int RunMoveFiles(Session& session, const Arguments& arguments) {
    const auto folderOf = [](const QString& text) { return QDir::cleanPath(QDir().absoluteFilePath(text)); };
    const QString before = folderOf(arguments.Operands[0]), now = folderOf(arguments.Operands[1]);
    if (!QFileInfo(now).isDir()) {
        session.Out().PrintError(u"there is no folder " + now);
        return kFailed;
    }
    const bool isDryRun = arguments.Has(kDryRun);
    const TPodcastMovedFiles moved = FindMovedFiles(session.DB(), before, now);
    if (!isDryRun) RecordMovedFiles(session.DB(), moved.Names);
    const auto list = [&](const QStringList& names, const char* singular, const char* plural) {
        if (names.isEmpty()) return;
        session.Out().PrintLine(Counted(names.size(), singular, plural));
        for (const QString& name : names) session.Out().PrintLine(u"  " + OneLine(name));
    };
    session.Out().PrintLine(Counted(static_cast<qint64>(moved.Names.size()), "file", "files") +
                            (isDryRun ? u" would be found in " : u" found in ") + now);
    list(moved.Missing, "file is not there:", "files are not there:");
    list(moved.Taken, "file is recorded for another episode there:", "files are recorded for other episodes there:");

    if (session.IsOpenElsewhere()) {
        session.Out().PrintError(QStringLiteral(
            "another program has the profile open: files in its playlists keep their names; close it and try again"));
        return kFailed;
    }
    const int inPlayer = MoveProfileFileNames(
        session.Folder(),
        [&](const QString& name) {
            const QString moving = NameInMovedFolder(name, before, now);
            return vexa::FileExists(moving) ? moving : QString();
        },
        isDryRun);
    if (inPlayer > 0)
        session.Out().PrintLine(Counted(inPlayer, "name", "names") +
                                (isDryRun ? u" in the player's positions and playlists would change"
                                          : u" changed in the player's positions and playlists"));
    const QString target = session.Client().Options().CacheFileNameTemplate();
    if (!NameInMovedFolder(QString(target).replace(u'\\', u'/'), before, now).isEmpty())
        session.Out().PrintLine(u"new files still go to " + OneLine(target) +
                                u": change this with podcasts options CacheFileNameTemplate");
    return kDone;
}

}  // namespace podcasts::cli
