#include "Podcasts.Core.Options.h"

#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace podcasts {

namespace {
constexpr int kOptionChanged = 1;  // the only kind of change
}

std::uint32_t UpdateInterval(std::uint8_t checkUpdates) noexcept {
    return kUpdateIntervals[std::min<std::size_t>(checkUpdates, kUpdateIntervals.size() - 1)];
}

bool IsRefreshDue(std::uint32_t tickCount, std::uint32_t lastRefreshTime, std::uint32_t interval) noexcept {
    return tickCount > lastRefreshTime + interval;
}

bool IsRefreshDue(const QDateTime& now, const QDateTime& lastRefresh, std::uint32_t interval) {
    return !lastRefresh.isValid() || lastRefresh > now || now > lastRefresh.addMSecs(interval);
}

TPodcastClientOptions::TPodcastClientOptions(NotifyEvent onChange) {
    SetCacheFileNameTemplate(GetDefaultCacheFileNameTemplate());
    SetCheckUpdates(2);
    SetCheckUpdatesOnStartup(false);
    SetDownloadNewEpisodesAutomatically(false);
    SetShowNotifications(true);
    MarkEpisodesListenedOnStartPlayback = true;
    BackupSizeLimit = 500;
    FOnChange = std::move(onChange);
}

QString TPodcastClientOptions::CacheFileNameTemplateIn(const QString& folder) {
    return folder + u"%FeedTitle%\\%EpisodeFileName%";
}

QString TPodcastClientOptions::GetDefaultCacheFileNameTemplate() {
    return CacheFileNameTemplateIn(vexa::MusicFolder() + u"Podcasts\\");
}

QString TPodcastClientOptions::CacheFileNameTemplate() const {
    const vexa::TLock lock(FTemplateMutex);
    return FCacheFileNameTemplate;
}

void TPodcastClientOptions::SetCacheFileNameTemplate(const QString& value) {
    {
        const vexa::TLock lock(FTemplateMutex);
        if (FCacheFileNameTemplate == value) return;
        FCacheFileNameTemplate = value;
    }
    Changed(kOptionChanged);
}

template <class T>
void TPodcastClientOptions::Set(T& field, const T& value) {
    if (field == value) return;
    field = value;
    Changed(kOptionChanged);
}

void TPodcastClientOptions::SetCheckUpdates(std::uint8_t value) {
    Set(FCheckUpdates, value);
}
void TPodcastClientOptions::SetCheckUpdatesOnStartup(bool value) {
    Set(FCheckUpdatesOnStartup, value);
}
void TPodcastClientOptions::SetDownloadNewEpisodesAutomatically(bool value) {
    Set(FDownloadNewEpisodesAutomatically, value);
}
void TPodcastClientOptions::SetShowNotifications(bool value) {
    Set(FShowNotifications, value);
}

void TPodcastClientOptions::DoAssign(const LockablePersistent& source) {
    const auto* options = dynamic_cast<const TPodcastClientOptions*>(&source);
    if (!options) return;
    SetCheckUpdates(options->CheckUpdates());
    SetCheckUpdatesOnStartup(options->CheckUpdatesOnStartup());
    SetCacheFileNameTemplate(options->CacheFileNameTemplate());
    SetDownloadNewEpisodesAutomatically(options->DownloadNewEpisodesAutomatically());
    MarkEpisodesListenedOnStartPlayback = options->MarkEpisodesListenedOnStartPlayback;
    BackupSizeLimit = options->BackupSizeLimit;
    SetShowNotifications(options->ShowNotifications());
}

void TPodcastClientOptions::DoChanged(int) {
    VEXA_ASSERT_MAIN_THREAD();
    if (FOnChange) FOnChange(*this);
}

}  // namespace podcasts
