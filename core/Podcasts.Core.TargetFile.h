#pragma once
// The file that a download is written to. It has its final name from the start.

#include "VEXA.Runtime.Reason.h"

#include <QString>

namespace podcasts {

/// The file is locked while it is open, so that two programs never write the same file. Errors are thrown as
/// vexa::ReasonError, which says what failed and why.
class TPodcastTargetFile {
public:
    TPodcastTargetFile() = default;
    ~TPodcastTargetFile() { Close(); }
    TPodcastTargetFile(const TPodcastTargetFile&) = delete;
    TPodcastTargetFile& operator=(const TPodcastTargetFile&) = delete;

    /// Opens or creates the file and locks it, without changing its contents. The folder must exist. True when the file
    /// was created.
    bool Open(const QString& fileName);
    /// Whether another program, or another download of this one, is writing the file.
    static bool IsBeingWritten(const QString& fileName);
    /// Empties the file to write it from its start. From now on its contents belong to this download (see Discard).
    void Truncate();
    void Write(const char* data, std::size_t size);
    /// Returns when everything written is on disk. Throws when the file has been removed meanwhile.
    void Flush();
    void Close() noexcept;
    /// Closes the file, and removes it if Open created it or Truncate emptied it.
    void Discard() noexcept;

    bool IsOpen() const noexcept { return FDescriptor >= 0; }
    const QString& FileName() const noexcept { return FFileName; }

private:
    [[noreturn]] void Fail(const vexa::ReasonText& what) const;

    QString FFileName;
    int FDescriptor = -1;
    bool FIsOurs = false;
    qint64 FWritten = 0;
    qint64 FSentToDisk = 0;
};

}  // namespace podcasts
