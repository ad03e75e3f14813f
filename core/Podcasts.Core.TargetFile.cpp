#include "Podcasts.Core.TargetFile.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.Files.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonError;

namespace {

// How much data may wait in memory before the kernel is told to write it, so that the final flush has little left to
// do.
constexpr qint64 kWriteBehind = 8 * 1024 * 1024;

}  // namespace

void TPodcastTargetFile::Fail(const vexa::ReasonText& what) const {
    throw ReasonError(Reason(what, {FFileName, vexa::SystemReason(errno)}));
}

bool TPodcastTargetFile::Open(const QString& fileName) {
    Close();
    FFileName = fileName;
    const QByteArray path = QFile::encodeName(fileName);
    for (;;) {
        constexpr int flags = O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK;
        FDescriptor = open(path.constData(), flags | O_EXCL, 0666);
        FIsOurs = FDescriptor >= 0;
        if (FDescriptor < 0 && errno == EEXIST) FDescriptor = open(path.constData(), flags, 0666);
        if (FDescriptor < 0) Fail(CoreReason("CannotCreateFile"));
        struct stat status {};
        if (fstat(FDescriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            Close();
            throw ReasonError(Reason(CoreReason("CannotCreateFile"), {fileName, Reason(CoreReason("NameTaken"))}));
        }
        if (flock(FDescriptor, LOCK_EX | LOCK_NB) != 0) {
            const bool isHeld = errno == EWOULDBLOCK;
            if (!isHeld && errno != EINTR) return FIsOurs;  // the file system has no locks: go on without
            Close();
            if (!isHeld) continue;
            throw ReasonError(Reason(CoreReason("FileBusy"), {fileName}));
        }
        // The previous holder of the lock may have removed the file.
        if (vexa::IsFileNamed(FDescriptor, path)) return FIsOurs;
        Close();
    }
}

bool TPodcastTargetFile::IsBeingWritten(const QString& fileName) {
    const int descriptor = open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) return false;
    const bool isHeld = flock(descriptor, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(descriptor);
    return isHeld;
}

void TPodcastTargetFile::Truncate() {
    if (ftruncate(FDescriptor, 0) != 0 || lseek(FDescriptor, 0, SEEK_SET) != 0) Fail(CoreReason("CannotWriteFile"));
    FIsOurs = true;
    FWritten = FSentToDisk = 0;
}

void TPodcastTargetFile::Write(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(FDescriptor, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail(CoreReason("CannotWriteFile"));
        data += written;
        size -= static_cast<std::size_t>(written);
        FWritten += written;
    }
    if (FWritten - FSentToDisk < kWriteBehind) return;
    sync_file_range(FDescriptor, FSentToDisk, FWritten - FSentToDisk, SYNC_FILE_RANGE_WRITE);
    FSentToDisk = FWritten;
}

void TPodcastTargetFile::Flush() {
    if (fdatasync(FDescriptor) != 0) Fail(CoreReason("CannotWriteFile"));
    if (!vexa::IsFileNamed(FDescriptor, QFile::encodeName(FFileName)))
        throw ReasonError(Reason(CoreReason("FileGone"), {FFileName}));
}

void TPodcastTargetFile::Close() noexcept {
    if (FDescriptor >= 0) close(FDescriptor);
    FDescriptor = -1;
}

void TPodcastTargetFile::Discard() noexcept {
    const QByteArray path = QFile::encodeName(FFileName);
    if (FDescriptor >= 0 && FIsOurs && vexa::IsFileNamed(FDescriptor, path)) unlink(path.constData());
    Close();
}

}  // namespace podcasts
