#include "Podcasts.Plugin.ML.Tasks.h"

#include "apiWrappersUI.h"

namespace podcasts {

using namespace vexa;

void TVEXAPodcastsMLBackgroundTaskHelper::Initialize(Ref<IVEXAMLDataStorageManager> manager) {
    FManager = std::move(manager);
    const std::lock_guard lock(FMutex);
    FTasks.emplace();
}

void TVEXAPodcastsMLBackgroundTaskHelper::Finalize() {
    {
        const std::lock_guard lock(FMutex);
        FTasks.reset();
    }
    FManager = nullptr;
}

void TVEXAPodcastsMLBackgroundTaskHelper::StartTask(std::int32_t kind, const QString& captionKey,
                                                    const CancelAction& cancel) {
    const QString format = LocalizedText(captionKey);
    const TInfo info{ToHostString(format), format};
    // This object may be finalised during a call of the manager.
    if (const auto manager = FManager) {
        Ref<IVEXAActionEvent> cancelEvent;
        if (cancel) cancelEvent = NewObject<TVEXAUINotifyEventAdapter>([cancel](IUnknown*) { cancel(); });
        manager->BackgroundTaskStarted(kind, info.Caption.Get(), cancelEvent.Get());
    }
    {
        const std::lock_guard lock(FMutex);
        if (FTasks) FTasks->insert_or_assign(kind, info);
    }
    UpdateTask(kind, {});
}

void TVEXAPodcastsMLBackgroundTaskHelper::UpdateTask(std::int32_t kind, const QString& text) {
    TInfo info;
    {
        const std::lock_guard lock(FMutex);
        const auto found = FTasks ? FTasks->find(kind) : decltype(FTasks->end())();
        if (!FTasks || found == FTasks->end()) return;
        info = found->second;
    }
    const QString& format = info.CaptionFormat;
    const QString caption =
        format.contains(QLatin1String("%s")) ? FormatText(format, text) : QString(format + u' ' + text);
    info.Caption->SetChars(reinterpret_cast<const char16_t*>(caption.utf16()), static_cast<int>(caption.size()));
}

void TVEXAPodcastsMLBackgroundTaskHelper::FinishTask(std::int32_t kind) {
    if (const auto manager = FManager) manager->BackgroundTaskFinished(kind);
    const std::lock_guard lock(FMutex);
    if (FTasks) FTasks->erase(kind);
}

}  // namespace podcasts
