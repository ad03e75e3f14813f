#pragma once
// What every command works with: the profile, its configuration, the client, the terminal.

#include "EpisodeKeys.h"
#include "Podcasts.Core.Config.h"
#include "Podcasts.Core.h"
#include "Terminal.h"
#include "VEXA.Runtime.Settings.h"

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
    void Save() { FFile.Save(); }

private:
    vexa::SettingsFile FFile;
};

/// What names no subscription.
class FeedError : public std::runtime_error {
public:
    explicit FeedError(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class Session {
public:
    /// Opens the profile's database and reads its configuration. An empty folder name means the default one.
    Session(const QString& profile, Terminal& terminal);

    TPodcastClient& Client() noexcept { return *FClient; }
    TPodcastsDB& DB() noexcept { return FClient->DB(); }
    SettingsConfig& Config() noexcept { return *FConfig; }
    EpisodeKeys& Keys() noexcept { return FKeys; }
    Terminal& Out() noexcept { return FTerminal; }

    /// Runs the main thread until neither task runs; a signal cancels them. Calls `report` several times a second.
    void RunUntilIdle(const std::function<void()>& report);
    bool IsInterrupted() const { return FTerminal.Interrupted; }

    /// The address of a feed given by its address or id. Throws FeedError when there is none.
    [[nodiscard]] QString FindFeed(const QString& feed);
    struct FoundEpisodes {
        QStringList Keys;
        int Unknown = 0;
    };
    /// The engine's keys for the given ones; "-" reads them from standard input, one a line, where a line that begins
    /// with a key may go on as "podcasts episodes" prints it. Keys that name nothing are complained about and counted.
    [[nodiscard]] FoundEpisodes FindEpisodes(const QStringList& keys);
    /// "key  date  state  duration  title - feed", for lists.
    QString EpisodeLine(const TPodcastEpisode& episode, const QString& feedName);

private:
    Terminal& FTerminal;
    std::unique_ptr<SettingsConfig> FConfig;
    std::unique_ptr<TPodcastClient> FClient;
    EpisodeKeys FKeys;
};

/// "listened", "new", "postponed".
QString StateName(TPodcastEpisodeState state);
/// Throws UsageError.
TPodcastEpisodeState ReadState(const QString& name);
/// "1:02:03", "45:00"; empty for 0.
QString DurationText(double seconds);

}  // namespace podcasts::cli
