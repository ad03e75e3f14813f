#pragma once
// The client's refreshes and downloads as background tasks of the host's library.

#include "VEXA.Runtime.Mutex.h"
#include "apiWrappers.h"

#include <functional>
#include <map>
#include <optional>

namespace podcasts {

/// Tells the host of tasks and keeps their captions up to date. Main thread, but for UpdateTask, which any thread may
/// call at any time: what comes before a task began or after it ended is dropped.
class TVEXAPodcastsMLBackgroundTaskHelper {
public:
    using CancelAction = std::function<void()>;

    void Initialize(vexa::Ref<vexa::IVEXAMLDataStorageManager> manager);
    /// Forgets the tasks; those that report later find nothing.
    void Finalize();

    /// `captionKey`: of the text that the caption is made of. Without a `cancel` the task cannot be cancelled.
    void StartTask(std::int32_t kind, const QString& captionKey, const CancelAction& cancel);
    /// Puts `text` in the place of "%s" in the caption's format, else behind it.
    void UpdateTask(std::int32_t kind, const QString& text);
    void FinishTask(std::int32_t kind);

private:
    struct TInfo {
        vexa::Ref<vexa::IVEXAString> Caption;  // the host's to read at any time; rewritten at each step
        QString CaptionFormat;
    };

    vexa::TMutex FMutex;
    std::optional<std::map<std::int32_t, TInfo>> FTasks VEXA_GUARDED_BY(FMutex);  // by kind; none before Initialize
    vexa::Ref<vexa::IVEXAMLDataStorageManager> FManager;                          // main thread
};

}  // namespace podcasts
