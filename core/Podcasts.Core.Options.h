#pragma once
// The settings of the client.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"

#include <QDateTime>
#include <QString>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>

namespace podcasts {

/// Milliseconds between automatic refreshes, indexed by the option CheckUpdates: never, hourly, daily, weekly.
inline constexpr std::array<std::uint32_t, 4> kUpdateIntervals = {
    0,
    60 * 60 * 1000,
    24 * 60 * 60 * 1000,
    7 * 24 * 60 * 60 * 1000,
};
/// The interval for a value of CheckUpdates; a value beyond the list (from a configuration edited by hand) counts as
/// weekly.
std::uint32_t UpdateInterval(std::uint8_t checkUpdates) noexcept;

/// Whether the tick count has passed the time of the last refresh plus the interval, in 32-bit arithmetic that wraps.
bool IsRefreshDue(std::uint32_t tickCount, std::uint32_t lastRefreshTime, std::uint32_t interval) noexcept;
/// The same by the calendar, which also counts the time while the machine is off. A refresh is due, too, when the time
/// of the last one is not known (invalid), or is in the future because the clock has been set back.
bool IsRefreshDue(const QDateTime& now, const QDateTime& lastRefresh, std::uint32_t interval);

/// Written only on the main thread. Background tasks read CacheFileNameTemplate, which has its own lock.
class TPodcastClientOptions final : public vexa::LockablePersistent {
public:
    using NotifyEvent = std::function<void(TPodcastClientOptions&)>;

    /// Sets the defaults; `onChange` is called only for later changes.
    explicit TPodcastClientOptions(NotifyEvent onChange = {});

    /// The default template for files in `folder`, which ends in a delimiter: folder + "%FeedTitle%\%EpisodeFileName%".
    static QString CacheFileNameTemplateIn(const QString& folder);
    /// The template for the user's music folder + "Podcasts\".
    static QString GetDefaultCacheFileNameTemplate();

    QString CacheFileNameTemplate() const;
    std::uint8_t CheckUpdates() const noexcept { return FCheckUpdates; }
    bool CheckUpdatesOnStartup() const noexcept { return FCheckUpdatesOnStartup; }
    bool DownloadNewEpisodesAutomatically() const noexcept { return FDownloadNewEpisodesAutomatically; }
    bool ShowNotifications() const noexcept { return FShowNotifications; }

    void SetCacheFileNameTemplate(const QString& value);
    void SetCheckUpdates(std::uint8_t value);
    void SetCheckUpdatesOnStartup(bool value);
    void SetDownloadNewEpisodesAutomatically(bool value);
    void SetShowNotifications(bool value);

    /// A plain field without notification, because nothing in the engine depends on it.
    bool MarkEpisodesListenedOnStartPlayback = false;
    /// The same: how much all backups together may take, in MB (1,000,000 bytes); the newest is kept in any case.
    int BackupSizeLimit = 0;

protected:
    void DoAssign(const LockablePersistent& source) override;
    void DoChanged(int changes) override;

private:
    template <class T>
    void Set(T& field, const T& value);

    mutable vexa::TMutex FTemplateMutex;
    QString FCacheFileNameTemplate VEXA_GUARDED_BY(FTemplateMutex);
    NotifyEvent FOnChange;
    std::uint8_t FCheckUpdates = 0;
    bool FCheckUpdatesOnStartup = false;
    bool FDownloadNewEpisodesAutomatically = false;
    bool FShowNotifications = false;
};

}  // namespace podcasts
