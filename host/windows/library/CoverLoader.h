#pragma once
// Reads the pictures of a storage's nodes on two threads, and keeps scaled copies of them in a folder. Main thread.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.MusicLibrary.h"

#include <QImage>
#include <QString>

#include <deque>
#include <functional>
#include <memory>

namespace vexa::host {

/// A picture that is wanted: of the node that `Field` and `Value` name, as a square of `Side` pixels.
struct CoverRequest {
    QString Field, Value;
    int Side = 0;
};

/// One thread only reads what the storage has, so that a server that is slow delays no other picture; the other one
/// lets the storage fetch what it does not have.
class CoverLoader : public std::enable_shared_from_this<CoverLoader> {
public:
    /// Called on the main thread. `version` is empty when there is no picture.
    using Loaded = std::function<void(const CoverRequest& request, const QString& version, const QImage& picture)>;

    /// `folder` is created when the first copy is kept.
    CoverLoader(Ref<IVEXAMLNodeImage> storage, const QString& storageID, const QString& folder, Loaded loaded);

    /// Requests made last are answered first. Returns a request that was dropped, because too many wait; its Side is 0
    /// if none was.
    CoverRequest Add(CoverRequest request);
    /// Drops what waits. Does not wait for the threads: they keep this object, and end by themselves.
    void Stop();

private:
    class LoadTask;
    enum class Thread { Stored, Fetching };
    struct Queue {
        std::deque<CoverRequest> Waiting;
        bool IsRunning = false;
    };

    Queue& QueueOf(Thread thread) VEXA_REQUIRES(FMutex) { return thread == Thread::Stored ? FStored : FFetching; }
    CoverRequest Enqueue(Thread thread, CoverRequest request);
    void Run(Thread thread);
    void Answer(Thread thread, CoverRequest request);
    QString VersionOf(const CoverRequest& request) const;
    QImage Read(const CoverRequest& request, std::uint32_t flags) const;
    void Keep(const QString& file, const QImage& picture);
    void Sweep() const;

    const Ref<IVEXAMLNodeImage> FStorage;
    const QString FStorageID, FFolder;
    const Loaded FLoaded;
    TMutex FMutex;
    Queue FStored VEXA_GUARDED_BY(FMutex), FFetching VEXA_GUARDED_BY(FMutex);
    int FKept VEXA_GUARDED_BY(FMutex) = 0;  // copies since the folder was last swept
    bool FIsStopped VEXA_GUARDED_BY(FMutex) = false;
};

}  // namespace vexa::host
