#pragma once
// Keeps the queue of downloads in the database, so that the program's next start can go on with it.

#include "Podcasts.Core.DB.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"

#include <QSet>
#include <QStringList>

#include <vector>

namespace podcasts {

/// Any thread may call it. The database is written by a thread of its own, since another program may hold the write
/// lock for seconds. An error while writing is logged: it costs no more than a download that is not begun again.
class TPodcastKeptQueue {
public:
    explicit TPodcastKeptQueue(TPodcastsDB& db) : FDB(db) {}
    /// Returns when the last changes have been written.
    ~TPodcastKeptQueue();
    TPodcastKeptQueue(const TPodcastKeptQueue&) = delete;
    TPodcastKeptQueue& operator=(const TPodcastKeptQueue&) = delete;

    /// Returns the keys that were kept last time, in the order in which they were queued, without those whose episodes
    /// are gone. Before this call nothing is kept.
    QStringList Start();
    void Add(const QStringList& episodeKeys) {
        const vexa::TLock lock(FMutex);
        Change(episodeKeys, true);
    }
    void Remove(const QStringList& episodeKeys) {
        const vexa::TLock lock(FMutex);
        Change(episodeKeys, false);
    }
    /// Removes everything that was added.
    void Clear();

private:
    class Writer;
    void Change(const QStringList& episodeKeys, bool isQueued) VEXA_REQUIRES(FMutex);
    void Write();

    TPodcastsDB& FDB;
    vexa::TMutex FMutex;
    bool FIsStarted VEXA_GUARDED_BY(FMutex) = false;
    QSet<QString> FKept VEXA_GUARDED_BY(FMutex);
    std::vector<TPodcastQueueChange> FChanges VEXA_GUARDED_BY(FMutex);  // of FKept, not yet taken by the writer
    bool FIsWriting VEXA_GUARDED_BY(FMutex) = false;
    vexa::TaskHandle FWriter VEXA_GUARDED_BY(FMutex) = 0;  // the last one
};

}  // namespace podcasts
