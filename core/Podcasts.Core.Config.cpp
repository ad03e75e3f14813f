#include "Podcasts.Core.Config.h"

#include "Podcasts.Core.h"
#include "VEXA.Runtime.Dates.h"

#include <algorithm>
#include <array>

namespace podcasts {

using Kind = TPodcastConfigKey::Kind;

namespace {

constexpr TPodcastConfigKey kBackupLimit = {u"Podcasts\\BackupSizeLimit", Kind::Integer, true};
constexpr TPodcastConfigKey kTemplate = {u"Podcasts\\CacheFileNameTemplate", Kind::FileName, true};
constexpr TPodcastConfigKey kCheckUpdates = {u"Podcasts\\CheckUpdates", Kind::Interval, true};
constexpr TPodcastConfigKey kLastTime = {u"Podcasts\\CheckUpdatesLastTime", Kind::Integer, false};
constexpr TPodcastConfigKey kLastDate = {u"Podcasts\\CheckUpdatesLastDate", Kind::String, false};
constexpr TPodcastConfigKey kOnStartup = {u"Podcasts\\CheckUpdatesOnStartup", Kind::Bool, true};
constexpr TPodcastConfigKey kDownloadNew = {u"Podcasts\\DownloadNewEpisodesAutomatically", Kind::Bool, true};
constexpr TPodcastConfigKey kMarkListened = {u"Podcasts\\MarkEpisodesListenedOnStartPlayback", Kind::Bool, true};
constexpr TPodcastConfigKey kNotifications = {u"Podcasts\\ShowNotifications", Kind::Bool, true};

constexpr std::array kWriteOrder = {kTemplate,    kCheckUpdates, kLastTime,      kLastDate,   kOnStartup,
                                    kDownloadNew, kMarkListened, kNotifications, kBackupLimit};

/// Reads an ISO 8601 date and time, in UTC if it names no zone. Invalid for any other text.
QDateTime ReadDate(const QString& text) {
    const double date = vexa::DecodeIsoDate(text);
    return date == 0 ? QDateTime() : vexa::FromOleDate(date);
}

}  // namespace

std::span<const TPodcastConfigKey> PodcastConfigKeys() {
    return kWriteOrder;
}

void ReadPodcastConfig(IPodcastConfig& config, TPodcastClient& client) {
    client.LastRefreshTime = static_cast<std::uint32_t>(config.ReadInteger(kLastTime.KeyPath(), 0));
    client.LastRefreshDate = ReadDate(config.ReadString(kLastDate.KeyPath(), {}));
    ReadPodcastOptions(config, client.Options());
}

void ReadPodcastOptions(IPodcastConfig& config, TPodcastClientOptions& options) {
    const TPodcastClientOptions defaults;
    options.BackupSizeLimit = std::max(config.ReadInteger(kBackupLimit.KeyPath(), defaults.BackupSizeLimit), 0);
    options.SetCacheFileNameTemplate(config.ReadString(kTemplate.KeyPath(), defaults.CacheFileNameTemplate()));
    options.SetCheckUpdates(
        static_cast<std::uint8_t>(config.ReadInteger(kCheckUpdates.KeyPath(), defaults.CheckUpdates())));
    options.SetCheckUpdatesOnStartup(config.ReadBool(kOnStartup.KeyPath(), defaults.CheckUpdatesOnStartup()));
    options.SetDownloadNewEpisodesAutomatically(
        config.ReadBool(kDownloadNew.KeyPath(), defaults.DownloadNewEpisodesAutomatically()));
    options.SetShowNotifications(config.ReadBool(kNotifications.KeyPath(), defaults.ShowNotifications()));
    options.MarkEpisodesListenedOnStartPlayback =
        config.ReadBool(kMarkListened.KeyPath(), defaults.MarkEpisodesListenedOnStartPlayback);
}

void WritePodcastConfig(IPodcastConfig& config, const TPodcastClient& client) {
    const TPodcastClientOptions& options = client.Options();
    config.WriteString(kTemplate.KeyPath(), options.CacheFileNameTemplate());
    config.WriteInteger(kCheckUpdates.KeyPath(), options.CheckUpdates());
    WritePodcastRefreshTime(config, client);
    config.WriteBool(kOnStartup.KeyPath(), options.CheckUpdatesOnStartup());
    config.WriteBool(kDownloadNew.KeyPath(), options.DownloadNewEpisodesAutomatically());
    config.WriteBool(kMarkListened.KeyPath(), options.MarkEpisodesListenedOnStartPlayback);
    config.WriteBool(kNotifications.KeyPath(), options.ShowNotifications());
    config.WriteInteger(kBackupLimit.KeyPath(), options.BackupSizeLimit);
}

void WritePodcastRefreshTime(IPodcastConfig& config, const TPodcastClient& client) {
    config.WriteInteger(kLastTime.KeyPath(), static_cast<int>(client.LastRefreshTime));
    config.WriteString(kLastDate.KeyPath(), client.LastRefreshDate.toUTC().toString(Qt::ISODate));
}

}  // namespace podcasts
