#include "Podcasts.Core.KeptQueue.h"

#include "VEXA.Runtime.Log.h"

#include <utility>

namespace podcasts {

class TPodcastKeptQueue::Writer final : public vexa::Task {
public:
    explicit Writer(TPodcastKeptQueue& queue) : FQueue(queue) {}
    void Execute() override { FQueue.Write(); }

private:
    TPodcastKeptQueue& FQueue;
};

TPodcastKeptQueue::~TPodcastKeptQueue() {
    vexa::TaskHandle writer = 0;
    {
        const vexa::TLock lock(FMutex);
        writer = FWriter;
    }
    vexa::WorkerPool::Cancel(writer, true);  // it does not stop before all is written
}

QStringList TPodcastKeptQueue::Start() {
    QStringList kept, gone;
    for (const QString& key : FDB.GetKeptQueue()) (FDB.GetEpisode(key) ? kept : gone) += key;
    {
        const vexa::TLock lock(FMutex);
        FIsStarted = true;
        FKept = QSet<QString>(kept.begin(), kept.end()).unite(QSet<QString>(gone.begin(), gone.end()));
    }
    Remove(gone);
    return kept;
}

void TPodcastKeptQueue::Clear() {
    const vexa::TLock lock(FMutex);
    Change(FKept.values(), false);
}

void TPodcastKeptQueue::Change(const QStringList& episodeKeys, bool isQueued) {
    if (!FIsStarted) return;
    for (const QString& key : episodeKeys) {
        if (FKept.contains(key) == isQueued) continue;
        if (isQueued)
            FKept.insert(key);
        else
            FKept.remove(key);
        FChanges.push_back({key, isQueued});
    }
    if (FIsWriting || FChanges.empty()) return;
    FIsWriting = true;
    FWriter = vexa::WorkerPool::Run(std::make_unique<Writer>(*this));
}

void TPodcastKeptQueue::Write() {
    for (;;) {
        std::vector<TPodcastQueueChange> changes;
        {
            const vexa::TLock lock(FMutex);
            changes = std::exchange(FChanges, {});
            FIsWriting = !changes.empty();
        }
        if (changes.empty()) return;
        try {
            FDB.ChangeKeptQueue(changes);
        } catch (const std::exception& error) {
            qCWarning(vexa::LogDownload) << "cannot keep the queue of downloads:" << error.what();
        }
    }
}

}  // namespace podcasts
