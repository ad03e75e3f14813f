#pragma once
// Positions.json of the profile: where every file was left, at what speed each album is heard, and what is to play
// next. Main thread.
//
// The list's order, not the clock, says what was heard last. The file is written whole and renamed, so that a crash
// leaves the last one that was written.

#include "AddressMoves.h"
#include "JsonFile.h"
#include "VEXA.Runtime.Threads.h"

#include <QHash>
#include <QStringList>

#include <atomic>
#include <memory>
#include <vector>

namespace vexa::host {

struct HeardFile {
    QString Address;
    double Position = 0, Duration = 0;  // seconds; a duration of 0 is not known
    qint64 When = 0;                    // milliseconds since 1970, by the clock at that time: for showing only
};

class Positions {
public:
    /// Reads the file.
    explicit Positions(const QString& profileFolder);
    /// Waits for what is being written.
    ~Positions();
    Positions(const Positions&) = delete;
    Positions& operator=(const Positions&) = delete;

    /// Null for what begins anew. It holds until the next change.
    const HeardFile* Find(const QString& address) const;
    /// What was begun and not heard to its end, the last heard first.
    const std::vector<HeardFile>& Begun() const noexcept { return FBegun; }
    /// It was left there; at its beginning, and so near to its end that it counts as heard, it is forgotten.
    void Leave(const QString& address, double position, double duration);
    /// It was heard to its end, or is to begin anew.
    void Forget(const QString& address);

    /// Of files that have become one it was left where it was heard last. False when none of them is kept.
    bool Move(const AddressMoves& moves);

    /// 1 for an album that has none of its own.
    double Speed(const QString& album) const { return FSpeeds.value(album, 1); }
    void SetSpeed(const QString& album, double speed);

    const QStringList& UpNext() const noexcept { return FUpNext; }
    void SetUpNext(const QStringList& addresses);

    /// Writes what was changed. Throws std::runtime_error when it cannot; it is tried again the next time.
    void Save();
    /// Writes it on another thread, which logs a failure. False when that is still busy with the last time, so that it
    /// has to be asked again.
    [[nodiscard]] bool SaveInBackground();

private:
    /// What the thread that writes tells.
    struct SaveState {
        std::atomic<bool> IsSaving{false}, HasFailed{false};
    };
    class SaveTask;

    QByteArray ToJson() const;

    const std::shared_ptr<JsonFile> FFile;
    std::vector<HeardFile> FBegun;
    QHash<QString, double> FSpeeds;
    QStringList FUpNext;
    bool FIsChanged = false;
    TaskHandle FSaving = 0;
    std::shared_ptr<SaveState> FState = std::make_shared<SaveState>();
};

}  // namespace vexa::host
