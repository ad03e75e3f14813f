#pragma once
// Positions.json in the profile: where each file was left, the speed for each album, and the files to play next. Main
// thread.
//
// The order of the list, not the clock, says which file was heard last. A new file is written and renamed over the old
// one, so that after a crash the last complete one is there.

#include "AddressMoves.h"
#include "GoneItems.h"
#include "JsonFile.h"
#include "VEXA.Runtime.Threads.h"

#include <QHash>
#include <QSet>
#include <QStringList>

#include <atomic>
#include <memory>
#include <vector>

namespace vexa::host {

struct HeardFile {
    QString Address;
    double Position = 0, Duration = 0;  // seconds; a duration of 0 is unknown
    qint64 LeftAt = 0;                  // when it was left, in ms since 1970 by the clock of that time; 0 is unknown
    bool IsGone = false;  // the address names nothing now; the position is kept in case the file comes back
};

class Positions {
public:
    /// Reads the file.
    explicit Positions(const QString& profileFolder);
    /// Waits until the file is written.
    ~Positions();
    Positions(const Positions&) = delete;
    Positions& operator=(const Positions&) = delete;

    /// Where a file was left; null when it starts from its beginning. The pointer is valid until the next change.
    const HeardFile* Find(const QString& address) const;
    /// The files that were begun and not heard to their end, the last heard first.
    const std::vector<HeardFile>& Begun() const noexcept { return FBegun; }
    /// The file of these that was heard last, of those that are there; null when there is none.
    const HeardFile* LastHeard() const;
    /// Stores where a file was left, and when, unless it was left there before. A file left at its beginning, or so
    /// near its end that it counts as heard, is forgotten.
    void Leave(const QString& address, double position, double duration);
    /// Forgets a file that was heard to its end or is to start from its beginning.
    void Forget(const QString& address);
    /// The same for a file that somebody has marked as heard, which may be taken back while the program runs.
    void SetHeard(const QString& address);
    /// Brings back a position that SetHeard has forgotten, unless the file has another one by now. False when there is
    /// nothing to bring back.
    bool TakeBackHeard(const QString& address);

    /// Replaces moved addresses. Where several files have become one, the position of the file heard last is kept.
    /// False when none of the addresses is stored here.
    bool Move(const AddressMoves& moves);

    /// Takes files that are gone out of those to play next until they are there again, and marks the begun ones. False
    /// when nothing has changed.
    bool SetGone(const QSet<QString>& gone);
    /// The files that were taken out of those to play next.
    const GoneItems<QString>& GoneNext() const noexcept { return FGoneNext; }

    /// The speed of an album; 1 when none is stored.
    double Speed(const QString& album) const { return FSpeeds.value(album, 1); }
    void SetSpeed(const QString& album, double speed);

    const QStringList& UpNext() const noexcept { return FUpNext; }
    void SetUpNext(const QStringList& addresses);

    /// Writes the changes. Throws std::runtime_error when that fails; the next call tries again.
    void Save();
    /// Writes the changes on a worker thread, which logs a failure. False when an earlier write is still going on: call
    /// it again later.
    [[nodiscard]] bool SaveInBackground();

private:
    /// The state of the write on the worker thread.
    struct SaveState {
        std::atomic<bool> IsSaving{false}, HasFailed{false};
    };
    class SaveTask;

    QByteArray ToJson() const;

    const std::shared_ptr<JsonFile> FFile;
    std::vector<HeardFile> FBegun;
    QHash<QString, double> FSpeeds;
    QStringList FUpNext;
    GoneItems<QString> FGoneNext;
    struct Heard {
        HeardFile File;
        std::size_t Older;  // how many files had been heard before it
    };
    QHash<QString, Heard> FHeard;  // by address
    bool FIsChanged = false;
    TaskHandle FSaving = 0;
    std::shared_ptr<SaveState> FState = std::make_shared<SaveState>();
};

}  // namespace vexa::host
