#pragma once
// The six settings of the client.

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
/// The interval of a value of CheckUpdates; a larger one (from a configuration written by hand) counts as weekly.
std::uint32_t UpdateInterval(std::uint8_t checkUpdates) noexcept;

/// Whether the tick count has passed the time of the last refresh plus the interval, in 32-bit arithmetic that wraps.
bool IsRefreshDue(std::uint32_t tickCount, std::uint32_t lastRefreshTime, std::uint32_t interval) noexcept;
/// The same by the calendar, which also counts what passes while the machine is off. A time of the last refresh that is
/// not known (invalid) counts as due, and so does one to come: the clock has been set back since.
bool IsRefreshDue(const QDateTime& now, const QDateTime& lastRefresh, std::uint32_t interval);

/// Written on the main thread. Background tasks read CacheFileNameTemplate, which has a lock of its own.
class TPodcastClientOptions final : public vexa::LockablePersistent {
public:
    using NotifyEvent = std::function<void(TPodcastClientOptions&)>;

    /// Sets the defaults; `onChange` hears of later changes only.
    explicit TPodcastClientOptions(NotifyEvent onChange = {});

    /// What names files in this folder, given with its delimiter: folder + "%FeedTitle%\%EpisodeFileName%".
    static QString CacheFileNameTemplateIn(const QString& folder);
    /// That of the user's music folder + "Podcasts\".
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

    /// A plain field: nothing in the engine hangs on it, so a change is not announced.
    bool MarkEpisodesListenedOnStartPlayback = false;

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
