#pragma once
// Replaces files of a profile folder as a whole, as restoring a backup does, whatever ends the program meanwhile.
//
// New files are collected in the folder "Restoring.new" of the profile. Once they are complete and on the disk, the
// folder is renamed to "Restoring": from then on the profile is the new one, and whichever program opens it next first
// moves the files to their places (FinishReplacement). What they replace is moved to another folder of the profile,
// with its -wal and -shm if it is a database. Any thread.

#include "VEXA.Runtime.Export.h"

#include <QString>
#include <QStringList>

namespace vexa {

/// A lock on a folder that ends with the object, and with the process. Programs that have a profile open hold a shared
/// one on it. A missing folder, and one on a file system without locks, counts as locked by all who ask.
class VEXA_RUNTIME_API FolderLock {
public:
    enum class Kind { Shared, Exclusive };
    /// A shared lock waits up to five seconds while somebody replaces files; an exclusive one is had at once or not at
    /// all.
    FolderLock(const QString& folder, Kind kind);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    bool IsHeld() const noexcept { return FIsHeld; }
    /// Throws ReasonError.
    void ThrowUnlessHeld() const;

private:
    const QString FFolder;
    const int FDescriptor;
    bool FIsHeld = true;
};

/// What becomes of the replaced files.
enum class ReplacedFiles { Keep, Delete };

/// Collects files that will replace those of a profile. Without Commit everything is as before.
class VEXA_RUNTIME_API ProfileReplacement {
public:
    /// Throws ReasonError if the folder cannot be made. One object at a time for a profile: the caller has a lock.
    explicit ProfileReplacement(const QString& profileFolder);
    ~ProfileReplacement();
    ProfileReplacement(const ProfileReplacement&) = delete;
    ProfileReplacement& operator=(const ProfileReplacement&) = delete;

    /// Where the new file of that name has to be written.
    QString File(const QString& name) const;
    /// From now on the next FinishReplacement replaces the files, also after a crash. `aside`: the name of the folder
    /// of the profile that receives the replaced files. Throws ReasonError.
    void Commit(const QString& aside, ReplacedFiles replaced);

private:
    const QString FProfile, FFolder;
};

/// Whether a replacement is committed but not finished.
VEXA_RUNTIME_API bool IsReplacementPending(const QString& profileFolder);

enum class ReplacementResult {
    None,   // nothing was committed
    Done,   // the files are at their places
    InUse,  // another program has the profile open, so nothing was changed yet
};
/// Finishes a committed replacement. No part of the calling program may have the profile open. Numbers that databases
/// count up (AUTOINCREMENT) go on from the greater of the old and the new one. Throws ReasonError when files cannot be
/// moved; then the profile must not be used, and the next call goes on.
VEXA_RUNTIME_API ReplacementResult FinishReplacement(const QString& profileFolder);
/// The same for a caller that holds the exclusive lock on the profile.
VEXA_RUNTIME_API ReplacementResult FinishReplacement(const QString& profileFolder, const FolderLock& held);
/// Withdraws what was committed, unless FinishReplacement has begun with it. Throws ReasonError.
VEXA_RUNTIME_API void CancelReplacement(const QString& profileFolder);

/// Writes the file's data to the disk, and its folder's entry for it. Throws ReasonError.
VEXA_RUNTIME_API void FlushFile(const QString& fileName);
/// Gives a file another name in one step, replacing what has it, and flushes the folder. Throws ReasonError.
VEXA_RUNTIME_API void RenameFile(const QString& from, const QString& to);

}  // namespace vexa
