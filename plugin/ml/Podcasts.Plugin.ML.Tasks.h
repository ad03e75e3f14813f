#pragma once
// Shows the client's refreshes and downloads as background tasks of the host's library.

#include "VEXA.Runtime.Mutex.h"
#include "apiWrappers.h"

#include <functional>
#include <map>
#include <optional>

namespace podcasts {

/// How far a task is: the item that it works on, counted from 1, and the share of that item which is done.
struct TPodcastTaskProgress {
    qsizetype Item = 0;
    qsizetype Count = 0;
    double ItemShare = 0;

    /// The share of the whole task, from 0 to 1.
    double Share() const;
};

/// Reports tasks to the host and keeps their captions up to date. Main thread, except for UpdateTask and Progress,
/// which any thread may call at any time: updates before a task has begun or after it has ended are ignored.
class TVEXAPodcastsMLBackgroundTaskHelper {
public:
    using CancelAction = std::function<void()>;

    void Initialize(vexa::Ref<vexa::IVEXAMLDataStorageManager> manager);
    /// Forgets the tasks; later updates are ignored.
    void Finalize();

    /// `captionKey`: the key of the caption's format. `cancel` stops the task; whether the host gets it with the task
    /// depends on `isOffered`.
    void StartTask(std::int32_t kind, const QString& captionKey, CancelAction cancel, bool isOffered = true);
    /// Replaces "%s" in the caption's format by `text`, or appends `text` when there is no "%s".
    void UpdateTask(std::int32_t kind, const QString& text, const TPodcastTaskProgress& progress = {});
    void FinishTask(std::int32_t kind);
    /// Nothing for a task that does not run.
    std::optional<TPodcastTaskProgress> Progress(std::int32_t kind);
    /// False for a task that does not run.
    bool Cancel(std::int32_t kind);

private:
    struct TInfo {
        vexa::Ref<vexa::IVEXAString> Caption;  // rewritten at each update; the host may read it at any time
        QString CaptionFormat;
        CancelAction Cancel;
        TPodcastTaskProgress Progress{};
    };

    vexa::TMutex FMutex;
    std::optional<std::map<std::int32_t, TInfo>> FTasks VEXA_GUARDED_BY(FMutex);  // by kind; empty before Initialize
    vexa::Ref<vexa::IVEXAMLDataStorageManager> FManager;                          // main thread only
};

}  // namespace podcasts
