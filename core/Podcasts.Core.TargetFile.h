#pragma once
// The file that a download is written to, under its final name from the first byte.

#include <QString>

namespace podcasts {

/// Locked while open, so that two programs never write one file. What goes wrong is a std::runtime_error that says what
/// and why.
class TPodcastTargetFile {
public:
    TPodcastTargetFile() = default;
    ~TPodcastTargetFile() { Close(); }
    TPodcastTargetFile(const TPodcastTargetFile&) = delete;
    TPodcastTargetFile& operator=(const TPodcastTargetFile&) = delete;

    /// Opens or creates the file and locks it; what it holds stays as it is. The folder must exist. True when the file
    /// was created.
    bool Open(const QString& fileName);
    /// Whether another program, or another download of this one, is writing the file.
    static bool IsBeingWritten(const QString& fileName);
    /// Empties the file, to be written from its start: from here on it is this download's.
    void Truncate();
    void Write(const char* data, std::size_t size);
    /// Returns when everything written is on the disk. Throws when somebody has taken the file away.
    void Flush();
    void Close() noexcept;
    /// Takes the file away if Open created it or Truncate emptied it, and closes it.
    void Discard() noexcept;

    bool IsOpen() const noexcept { return FDescriptor >= 0; }
    const QString& FileName() const noexcept { return FFileName; }

private:
    [[noreturn]] void Fail(const char* what) const;

    QString FFileName;
    int FDescriptor = -1;
    bool FIsOurs = false;
    qint64 FWritten = 0;
    qint64 FSentToDisk = 0;
};

}  // namespace podcasts
