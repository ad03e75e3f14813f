#pragma once
// Shows the client's refreshes and downloads as background tasks of the host's library.

#include "apiWrappers.h"

#include <functional>
#include <map>
#include <mutex>
#include <optional>

namespace podcasts {

/// Reports tasks to the host and keeps their captions up to date. Main thread, except for UpdateTask, which any thread
/// may call at any time: calls before a task has begun or after it has ended are ignored.
class TVEXAPodcastsMLBackgroundTaskHelper {
public:
    using CancelAction = std::function<void()>;

    void Initialize(vexa::Ref<vexa::IVEXAMLDataStorageManager> manager);
    /// Forgets the tasks; later updates are ignored.
    void Finalize();

    /// `captionKey`: the key of the caption's format. Without `cancel` the task cannot be cancelled.
    void StartTask(std::int32_t kind, const QString& captionKey, const CancelAction& cancel);
    /// Replaces "%s" in the caption's format by `text`, or appends `text` when there is no "%s".
    void UpdateTask(std::int32_t kind, const QString& text);
    void FinishTask(std::int32_t kind);

private:
    struct TInfo {
        vexa::Ref<vexa::IVEXAString> Caption;  // rewritten at each update; the host may read it at any time
        QString CaptionFormat;
    };

    std::mutex FMutex;
    std::optional<std::map<std::int32_t, TInfo>> FTasks;  // by kind; guarded by FMutex; empty before Initialize
    vexa::Ref<vexa::IVEXAMLDataStorageManager> FManager;  // main thread only
};

}  // namespace podcasts
