#pragma once
// The objects that every command uses: the profile, its configuration, the client, the terminal.

#include "EpisodeKeys.h"
#include "Podcasts.Core.Config.h"
#include "Podcasts.Core.h"
#include "Terminal.h"
#include "VEXA.Runtime.Settings.h"

#include <QFile>
#include <QString>
#include <QStringList>

#include <memory>
#include <stdexcept>

namespace podcasts::cli {

/// The configuration in a profile's Settings.ini.
class SettingsConfig final : public IPodcastConfig {
public:
    explicit SettingsConfig(const QString& fileName) : FFile(fileName) {}

    int ReadInteger(const QString& keyPath, int defaultValue) override;
    bool ReadBool(const QString& keyPath, bool defaultValue) override;
    QString ReadString(const QString& keyPath, const QString& defaultValue) override;
    void WriteInteger(const QString& keyPath, int value) override;
    void WriteBool(const QString& keyPath, bool value) override;
    void WriteString(const QString& keyPath, const QString& value) override;
    void Insist(const QString& keyPath) { FFile.Insist(keyPath); }
    void Save() { FFile.Save(); }

private:
    vexa::SettingsFile FFile;
};

/// Thrown for a text that names no subscription.
class FeedError : public std::runtime_error {
public:
    explicit FeedError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class Session {
public:
    /// Opens the database in the folder `profile` and reads its configuration. An empty name means the default folder.
    /// Where a backup is due that cannot be made, asks the user at the terminal, if there is one, unless
    /// `isWithoutBackup`.
    Session(const QString& profile, Terminal& terminal, bool isWithoutBackup);

    TPodcastClient& Client() noexcept { return *FClient; }
    TPodcastsDB& DB() noexcept { return FClient->DB(); }
    SettingsConfig& Config() noexcept { return *FConfig; }
    EpisodeKeys& Keys() noexcept { return FKeys; }
    /// The profile's folder.
    const QString& Folder() const noexcept { return FFolder; }
    /// Whether another process, such as the player, has the profile's database open.
    bool IsOpenElsewhere();
    Terminal& Out() noexcept { return FTerminal; }

    /// Runs the main thread's queue until neither task runs; a signal cancels the tasks. Calls `report` several times a
    /// second.
    void RunUntilIdle(const std::function<void()>& report);
    bool IsInterrupted() const { return FTerminal.Interrupted; }

    /// The address of the feed with this address or id. Throws FeedError when there is none.
    [[nodiscard]] QString FindFeed(const QString& feed);
    struct FoundEpisodes {
        QStringList Keys;
        int Unknown = 0;  // keys that name no episode
    };
    /// The engine's keys for `keys`. "-" reads keys from standard input, one at the beginning of each line; the rest of
    /// a line may be what "podcasts episodes" prints there. Prints an error for each key that names no episode.
    [[nodiscard]] FoundEpisodes FindEpisodes(const QStringList& keys);
    /// A line for lists: "key  date  state  duration  title - feed".
    QString EpisodeLine(const TPodcastEpisode& episode, const QString& feedName);

private:
    Terminal& FTerminal;
    const QString FFolder;
    // Declared before the client: closing any descriptor of the database's file releases all locks that this process
    // has on it.
    QFile FDatabaseFile;
    std::unique_ptr<SettingsConfig> FConfig;
    std::unique_ptr<TPodcastClient> FClient;
    EpisodeKeys FKeys;
};

/// The folder of a profile, which is made if it does not exist; an empty name means the default one.
QString ProfileFolder(const QString& profile);

/// "listened", "new", "postponed".
QString StateName(TPodcastEpisodeState state);
/// Throws UsageError.
TPodcastEpisodeState ReadState(const QString& name);
/// "1:02:03", "45:00"; empty for 0.
QString DurationText(double seconds);

}  // namespace podcasts::cli
