#include "Podcasts.Plugin.ML.Tasks.h"

#include "VEXA.Runtime.Threads.h"
#include "apiWrappersUI.h"

#include <algorithm>

namespace podcasts {

using namespace vexa;

double TPodcastTaskProgress::Share() const {
    if (Count <= 0) return 0;
    const double done = static_cast<double>(std::max<qsizetype>(Item - 1, 0)) + std::clamp(ItemShare, 0.0, 1.0);
    return std::min(done / static_cast<double>(Count), 1.0);
}

void TVEXAPodcastsMLBackgroundTaskHelper::Initialize(Ref<IVEXAMLDataStorageManager> manager) {
    VEXA_ASSERT_MAIN_THREAD();
    FManager = std::move(manager);
    const TLock lock(FMutex);
    FTasks.emplace();
}

void TVEXAPodcastsMLBackgroundTaskHelper::Finalize() {
    VEXA_ASSERT_MAIN_THREAD();
    {
        const TLock lock(FMutex);
        FTasks.reset();
    }
    FManager = nullptr;
}

void TVEXAPodcastsMLBackgroundTaskHelper::StartTask(std::int32_t kind, const QString& captionKey, CancelAction cancel,
                                                    bool isOffered) {
    VEXA_ASSERT_MAIN_THREAD();
    const QString format = LocalizedText(captionKey);
    const TInfo info{ToHostString(format), format, std::move(cancel)};
    // This object may be finalised during a call of the manager.
    if (const auto manager = FManager) {
        Ref<IVEXAActionEvent> cancelEvent;
        if (isOffered)
            cancelEvent = NewObject<TVEXAUINotifyEventAdapter>([action = info.Cancel](IUnknown*) { action(); });
        manager->BackgroundTaskStarted(kind, info.Caption.Get(), cancelEvent.Get());
    }
    {
        const TLock lock(FMutex);
        if (FTasks) FTasks->insert_or_assign(kind, info);
    }
    UpdateTask(kind, {});
}

void TVEXAPodcastsMLBackgroundTaskHelper::UpdateTask(std::int32_t kind, const QString& text,
                                                     const TPodcastTaskProgress& progress) {
    Ref<IVEXAString> shown;
    QString format;
    {
        const TLock lock(FMutex);
        const auto found = FTasks ? FTasks->find(kind) : decltype(FTasks->end())();
        if (!FTasks || found == FTasks->end()) return;
        found->second.Progress = progress;
        shown = found->second.Caption;
        format = found->second.CaptionFormat;
    }
    const QString caption =
        format.contains(QLatin1String("%s")) ? FormatText(format, text) : QString(format + u' ' + text);
    shown->SetChars(reinterpret_cast<const char16_t*>(caption.utf16()), static_cast<int>(caption.size()));
}

std::optional<TPodcastTaskProgress> TVEXAPodcastsMLBackgroundTaskHelper::Progress(std::int32_t kind) {
    const TLock lock(FMutex);
    if (!FTasks) return std::nullopt;
    const auto found = FTasks->find(kind);
    return found == FTasks->end() ? std::nullopt : std::optional(found->second.Progress);
}

bool TVEXAPodcastsMLBackgroundTaskHelper::Cancel(std::int32_t kind) {
    VEXA_ASSERT_MAIN_THREAD();
    CancelAction cancel;
    {
        const TLock lock(FMutex);
        const auto found = FTasks ? FTasks->find(kind) : decltype(FTasks->end())();
        if (!FTasks || found == FTasks->end()) return false;
        cancel = found->second.Cancel;
    }
    cancel();
    return true;
}

void TVEXAPodcastsMLBackgroundTaskHelper::FinishTask(std::int32_t kind) {
    VEXA_ASSERT_MAIN_THREAD();
    if (const auto manager = FManager) manager->BackgroundTaskFinished(kind);
    const TLock lock(FMutex);
    if (FTasks) FTasks->erase(kind);
}

}  // namespace podcasts
