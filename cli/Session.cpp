#include "Session.h"

#include "Arguments.h"
#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.Subscribing.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.SQLite.File.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Url.h"

#include <QDateTime>
#include <QDir>
#include <QFile>

#include <poll.h>
#include <unistd.h>

#include <cstdio>

namespace podcasts::cli {

namespace {

// Indexed by the state's number.
const QStringList kStateNames = {QStringLiteral("listened"), QStringLiteral("new"), QStringLiteral("postponed")};

/// Whether to go on without a backup.
bool Confirm(Terminal& terminal, const vexa::Reason& why, bool isWithoutBackup) {
    terminal.PrintError(why.English());
    if (isWithoutBackup) return true;
    if (isatty(STDIN_FILENO) == 0 || isatty(STDERR_FILENO) == 0) {
        terminal.PrintError(QStringLiteral("--without-backup goes on without one"));
        return false;
    }
    std::fputs("podcasts: go on without a backup? [y/N] ", stderr);
    char answer[16] = {};
    const ssize_t size = read(STDIN_FILENO, answer, sizeof answer - 1);
    return size > 0 && (answer[0] == 'y' || answer[0] == 'Y');
}

}  // namespace

QString ProfileFolder(const QString& profile) {
    const QString folder = profile.isEmpty() ? vexa::DefaultProfileFolder() : QDir(profile).absolutePath();
    if (!QDir().mkpath(folder)) {
        throw std::runtime_error("cannot create the profile folder " + folder.toStdString() +
                                 "; name another one with --profile");
    }
    return folder;
}

int SettingsConfig::ReadInteger(const QString& keyPath, int defaultValue) {
    bool isNumber = false;
    const int value = FFile.Read(keyPath, QString::number(defaultValue)).toInt(&isNumber);
    return isNumber ? value : defaultValue;
}

bool SettingsConfig::ReadBool(const QString& keyPath, bool defaultValue) {
    return ReadInteger(keyPath, defaultValue ? 1 : 0) != 0;
}

QString SettingsConfig::ReadString(const QString& keyPath, const QString& defaultValue) {
    return FFile.Read(keyPath, defaultValue);
}

void SettingsConfig::WriteInteger(const QString& keyPath, int value) {
    FFile.Write(keyPath, QString::number(value));
}

void SettingsConfig::WriteBool(const QString& keyPath, bool value) {
    WriteInteger(keyPath, value ? 1 : 0);
}

void SettingsConfig::WriteString(const QString& keyPath, const QString& value) {
    FFile.Write(keyPath, value);
}

Session::Session(const QString& profile, Terminal& terminal, bool isWithoutBackup)
    : FTerminal(terminal),
      FFolder(ProfileFolder(profile)),
      FDatabaseFile(DatabaseFileName(FFolder)),
      FConfig(std::make_unique<SettingsConfig>(vexa::SettingsFileName(FFolder))),
      FClient(std::make_unique<TPodcastClient>(
          FDatabaseFile.fileName(), TPodcastClocks(),
          [&terminal, isWithoutBackup](const vexa::Reason& why) { return Confirm(terminal, why, isWithoutBackup); })),
      FKeys(FClient->DB()) {
    ReadPodcastConfig(*FConfig, *FClient);
}

void Session::RunUntilIdle(const std::function<void()>& report) {
    constexpr auto kReportInterval = std::chrono::milliseconds(100);
    vexa::DrainMainThreadUntil(
        [&] {
            if (IsInterrupted()) {
                FClient->CancelRefresh();
                FClient->CancelDownloads();
            }
            report();
            return FClient->RefreshTask() == 0 && FClient->DownloadTask() == 0;
        },
        kReportInterval);
}

namespace {

/// Reads the lines of standard input until it ends or a signal arrives.
QStringList ReadStandardInput(const Terminal& terminal) {
    QByteArray bytes;
    pollfd input{STDIN_FILENO, POLLIN, 0};
    char block[16384];
    while (!terminal.Interrupted) {
        if (poll(&input, 1, 100) <= 0) continue;
        const ssize_t size = read(STDIN_FILENO, block, sizeof block);
        if (size <= 0) break;
        bytes.append(block, size);
    }
    return vexa::FromUtf8({bytes.constData(), static_cast<std::size_t>(bytes.size())}).split(u'\n', Qt::SkipEmptyParts);
}

}  // namespace

bool Session::IsOpenElsewhere() {
    const bool isOpen = FDatabaseFile.isOpen() || FDatabaseFile.open(QIODevice::ReadOnly);
    return !isOpen || vexa::IsDatabaseInUse(FDatabaseFile);
}

QString Session::FindFeed(const QString& feed) {
    bool isNumber = false;
    const int id = feed.toInt(&isNumber);
    if (isNumber) {
        if (const auto stored = DB().GetFeed(id, false); stored && id > 0) return stored->Fields[pffURLFeed];
    } else {
        for (const QString& location :
             QStringList(feed) + FeedLocationsOf(feed) + QStringList(QDir().absoluteFilePath(feed)))
            if (FClient->IsSubscribed(location)) return location;
    }
    throw FeedError(u"there is no subscription " + vexa::MaskedUrl(feed) + u": \"podcasts feeds\" lists them");
}

Session::FoundEpisodes Session::FindEpisodes(const QStringList& keys) {
    FoundEpisodes found;
    auto resolve = [&](const QString& key) {
        try {
            found.Keys += FKeys.Resolve(key);
        } catch (const KeyError& error) {
            FTerminal.PrintError(QString::fromUtf8(error.what()));
            ++found.Unknown;
        }
    };
    for (const QString& key : keys) {
        if (key != u"-") {
            resolve(key);
            continue;
        }
        for (const QString& line : ReadStandardInput(FTerminal)) {
            const QString first = line.simplified().section(u' ', 0, 0);
            if (!first.isEmpty()) resolve(EpisodeKeys::IsShort(first) ? first : line.trimmed());
        }
    }
    return found;
}

QString Session::EpisodeLine(const TPodcastEpisode& episode, const QString& feedName) {
    const QDateTime date = vexa::FromOleDate(episode.PublishDate);
    const QString day = episode.PublishDate == 0 ? QString() : date.toLocalTime().date().toString(Qt::ISODate);
    QString line = FKeys.Short(episode.FeedID, episode.Fields[pefGUID]).leftJustified(12) + u"  " +
                   day.leftJustified(10) + u"  " + StateName(episode.State).leftJustified(9) + u"  " +
                   DurationText(static_cast<double>(episode.Duration)).rightJustified(8) + u"  " +
                   (episode.Fields[pefURLAudioCached].isEmpty() ? u"  " : u"* ") + OneLine(episode.Fields[pefTitle]);
    if (!feedName.isEmpty()) line += u" - " + OneLine(feedName);
    return line;
}

QString StateName(TPodcastEpisodeState state) {
    return kStateNames.value(state, QString::number(state));
}

TPodcastEpisodeState ReadState(const QString& name) {
    const auto index = kStateNames.indexOf(name);
    if (index < 0)
        throw UsageError(u"a state is " + kStateNames.join(QStringLiteral(" or ")) + u", not \"" + name + u'"');
    return static_cast<TPodcastEpisodeState>(index);
}

QString DurationText(double seconds) {
    if (!(seconds > 0) || seconds > 1e9) return {};
    const auto whole = static_cast<qint64>(seconds);
    const QString tail =
        QStringLiteral("%1:%2").arg(whole / 60 % 60, 2, 10, QChar(u'0')).arg(whole % 60, 2, 10, QChar(u'0'));
    return whole >= 3600 ? QString::number(whole / 3600) + u':' + tail : tail;
}

}  // namespace podcasts::cli
