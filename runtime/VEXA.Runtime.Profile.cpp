#include "VEXA.Runtime.Profile.h"

#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.SQLite.File.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>

namespace vexa {

namespace {

constexpr auto kMaxWait = std::chrono::seconds(5);
constexpr auto kPoll = std::chrono::milliseconds(5);

// In the folder of new files: says what becomes of the replaced ones. It is written last and removed last.
const QString kNote = QStringLiteral("Replacement.note");

[[noreturn]] void Fail(const QString& name, int error) {
    throw ReasonError(Reason(RuntimeReason("FileReplace"), {name, SystemReason(error)}));
}

QString NewFolder(const QString& profile) {
    return QDir(profile).filePath(QStringLiteral("Restoring.new"));
}

QString PendingFolder(const QString& profile) {
    return QDir(profile).filePath(QStringLiteral("Restoring"));
}

void Flush(const QString& name) {
    const int descriptor = open(QFile::encodeName(name).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) Fail(name, errno);
    const int error = fsync(descriptor) == 0 ? 0 : errno;
    close(descriptor);
    if (error != 0 && error != EINVAL) Fail(name, error);  // EINVAL: a file system that cannot flush folders
}

void Rename(const QString& from, const QString& to) {
    if (std::rename(QFile::encodeName(from).constData(), QFile::encodeName(to).constData()) != 0) Fail(to, errno);
}

bool IsDatabase(const QString& fileName) {
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) && file.read(16) == QByteArray("SQLite format 3\0", 16);
}

QStringList FilesIn(const QString& folder) {
    QStringList names = QDir(folder).entryList(QDir::Files | QDir::Hidden);
    names.removeAll(kNote);
    return names;
}

/// What a note says. A folder without a note is none of this program's making.
struct Note {
    QString Aside;
    ReplacedFiles Replaced = ReplacedFiles::Keep;
};

std::optional<Note> ReadNote(const QString& folder) {
    QFile file(QDir(folder).filePath(kNote));
    if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
    const QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    if (lines.size() < 2 || lines[0].isEmpty() || lines[0].contains(u'/') || lines[0].startsWith(u'.'))
        return std::nullopt;
    return Note{lines[0], lines[1] == u"delete" ? ReplacedFiles::Delete : ReplacedFiles::Keep};
}

/// Moves a file to the folder of replaced files. A file of that name may be there if a program that knows nothing of
/// replacements ran in between.
void MoveAside(const QString& profile, const QString& name, const QString& aside) {
    const QString present = QDir(profile).filePath(name);
    if (!QFileInfo::exists(present) && !QFileInfo(present).isSymLink()) return;
    QString target = QDir(aside).filePath(name);
    for (int number = 2; QFileInfo::exists(target); ++number)
        target = QDir(aside).filePath(name + u'.' + QString::number(number));
    Rename(present, target);
}

}  // namespace

FolderLock::FolderLock(const QString& folder, Kind kind)
    : FFolder(folder), FDescriptor(open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    const auto deadline = std::chrono::steady_clock::now() + kMaxWait;
    while (FDescriptor >= 0) {
        // With any error but these the file system has no locks.
        FIsHeld = flock(FDescriptor, (kind == Kind::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB) == 0 ||
                  (errno != EWOULDBLOCK && errno != EINTR);
        if (FIsHeld || kind == Kind::Exclusive || std::chrono::steady_clock::now() > deadline) return;
        std::this_thread::sleep_for(kPoll);
    }
}

FolderLock::~FolderLock() {
    if (FDescriptor >= 0) close(FDescriptor);
}

void FolderLock::ThrowUnlessHeld() const {
    if (!FIsHeld) throw ReasonError(Reason(RuntimeReason("ProfileBusy"), {FFolder}));
}

void FlushFile(const QString& fileName) {
    Flush(fileName);
    Flush(QFileInfo(fileName).path());
}

void RenameFile(const QString& from, const QString& to) {
    Rename(from, to);
    Flush(QFileInfo(to).path());
}

ProfileReplacement::ProfileReplacement(const QString& profileFolder)
    : FProfile(profileFolder), FFolder(NewFolder(profileFolder)) {
    QDir(FFolder).removeRecursively();
    if (mkdir(QFile::encodeName(FFolder).constData(), 0700) != 0) Fail(FFolder, errno);
}

ProfileReplacement::~ProfileReplacement() {
    QDir(FFolder).removeRecursively();
}

QString ProfileReplacement::File(const QString& name) const {
    return QDir(FFolder).filePath(name);
}

void ProfileReplacement::Commit(const QString& aside, ReplacedFiles replaced) {
    for (const QString& name : FilesIn(FFolder)) Flush(QDir(FFolder).filePath(name));
    const QString noteName = QDir(FFolder).filePath(kNote);
    {
        QFile note(noteName);
        const QByteArray text = aside.toUtf8() + (replaced == ReplacedFiles::Delete ? "\ndelete\n" : "\nkeep\n");
        if (!note.open(QIODevice::WriteOnly) || note.write(text) != text.size() || !note.flush())
            throw ReasonError(Reason(RuntimeReason("FileReplace"), {noteName, FileReason(note)}));
    }
    Flush(noteName);
    Flush(FFolder);
    // One that was committed earlier and has not begun.
    CancelReplacement(FProfile);
    Rename(FFolder, PendingFolder(FProfile));
    Flush(FProfile);
}

void CancelReplacement(const QString& profileFolder) {
    const QString pending = PendingFolder(profileFolder), former = pending + u".old";
    QDir(former).removeRecursively();
    if (!QFileInfo::exists(pending)) return;
    Rename(pending, former);
    QDir(former).removeRecursively();
}

bool IsReplacementPending(const QString& profileFolder) {
    return QFileInfo::exists(QDir(PendingFolder(profileFolder)).filePath(kNote));
}

ReplacementResult FinishReplacement(const QString& profileFolder) {
    if (!IsReplacementPending(profileFolder)) return ReplacementResult::None;
    return FinishReplacement(profileFolder, FolderLock(profileFolder, FolderLock::Kind::Exclusive));
}

ReplacementResult FinishReplacement(const QString& profileFolder, const FolderLock& held) {
    if (!IsReplacementPending(profileFolder)) return ReplacementResult::None;
    if (!held.IsHeld()) return ReplacementResult::InUse;
    const QString pending = PendingFolder(profileFolder);
    const std::optional<Note> note = ReadNote(pending);
    if (!note) return ReplacementResult::None;
    const QDir profile(profileFolder), arriving(pending);
    const QString aside = profile.filePath(note->Aside);
    const QStringList names = FilesIn(pending);
    // Programs that do not take the folder's lock, such as other versions, lock the database.
    for (const QString& name : names)
        if (IsDatabase(arriving.filePath(name)) && IsDatabaseInUse(profile.filePath(name)))
            return ReplacementResult::InUse;
    if (!QDir().mkpath(aside)) Fail(aside, EACCES);
    for (const QString& name : names) {
        if (!IsDatabase(arriving.filePath(name)) || !IsDatabase(profile.filePath(name))) continue;
        try {
            SqliteFile former(profile.filePath(name), SqliteFile::Mode::Read);
            SqliteFile(arriving.filePath(name), SqliteFile::Mode::Write).RaiseSequences(former);
        } catch (const SqliteError& error) {
            qCWarning(LogRuntime).noquote() << "the numbers of the replaced database are not known:" << error.what();
        }
    }
    for (const QString& name : names) {
        const bool isDatabase = IsDatabase(arriving.filePath(name));
        MoveAside(profileFolder, name, aside);
        if (isDatabase)
            for (const char16_t* log : {u"-wal", u"-shm"}) MoveAside(profileFolder, name + log, aside);
        Rename(arriving.filePath(name), profile.filePath(name));
    }
    Flush(aside);
    Flush(profileFolder);
    if (note->Replaced == ReplacedFiles::Delete) QDir(aside).removeRecursively();
    QFile::remove(arriving.filePath(kNote));
    QDir(pending).removeRecursively();
    return ReplacementResult::Done;
}

}  // namespace vexa
