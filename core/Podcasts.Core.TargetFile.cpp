#include "Podcasts.Core.TargetFile.h"

#include "VEXA.Runtime.Files.h"

#include <QFile>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <system_error>

namespace podcasts {

namespace {

// How much data may wait in memory before the kernel is told to write it, so that the final flush has little left to
// do.
constexpr qint64 kWriteBehind = 8 * 1024 * 1024;

}  // namespace

void TPodcastTargetFile::Fail(const char* what) const {
    const std::string reason = std::generic_category().message(errno);
    throw std::runtime_error(std::string(what) + " " + FFileName.toStdString() + ": " + reason);
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
        if (FDescriptor < 0) Fail("cannot create the file");
        struct stat status {};
        if (fstat(FDescriptor, &status) != 0 || !S_ISREG(status.st_mode)) {
            Close();
            throw std::runtime_error("cannot create the file " + fileName.toStdString() +
                                     ": something else has this name");
        }
        if (flock(FDescriptor, LOCK_EX | LOCK_NB) != 0) {
            const bool isHeld = errno == EWOULDBLOCK;
            if (!isHeld && errno != EINTR) return FIsOurs;  // the file system has no locks: go on without
            Close();
            if (!isHeld) continue;
            throw std::runtime_error("another program is writing the file " + fileName.toStdString() +
                                     "; try again when it has finished");
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
    if (ftruncate(FDescriptor, 0) != 0 || lseek(FDescriptor, 0, SEEK_SET) != 0) Fail("cannot write the file");
    FIsOurs = true;
    FWritten = FSentToDisk = 0;
}

void TPodcastTargetFile::Write(const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = write(FDescriptor, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) Fail("cannot write the file");
        data += written;
        size -= static_cast<std::size_t>(written);
        FWritten += written;
    }
    if (FWritten - FSentToDisk < kWriteBehind) return;
    sync_file_range(FDescriptor, FSentToDisk, FWritten - FSentToDisk, SYNC_FILE_RANGE_WRITE);
    FSentToDisk = FWritten;
}

void TPodcastTargetFile::Flush() {
    if (fdatasync(FDescriptor) != 0) Fail("cannot write the file");
    if (!vexa::IsFileNamed(FDescriptor, QFile::encodeName(FFileName)))
        throw std::runtime_error("the file " + FFileName.toStdString() + " was taken away while it was downloaded");
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
