#pragma once
// Standard output and standard error: safe text, JSON, and a status line that is overwritten.

#include <QJsonObject>
#include <QString>

#include <atomic>
#include <exception>
#include <mutex>

namespace podcasts::cli {

/// Thrown when something is printed although the reader of the output is gone, or the user has asked to stop. Ends the
/// program.
class OutputEnded : public std::exception {};

/// Text that is safe on a terminal: control characters and the like, which feeds may contain, are replaced by blanks.
/// Line breaks are kept.
QString SafeText(const QString& text);
/// The same on one line, with each run of blanks replaced by one blank.
QString OneLine(const QString& text);

/// `text` cut, or padded with blanks, to `width` columns of a terminal.
QString InColumns(const QString& text, int width);

/// Any thread may call it; lines from several threads are never mixed.
class Terminal {
public:
    /// Prints to standard output. Throws OutputEnded when printing fails.
    void Print(const QString& text);
    void PrintLine(const QString& text) { Print(text + u'\n'); }
    /// Prints "podcasts: MESSAGE" to standard error.
    void PrintError(const QString& message);
    /// Replaces the status line at the bottom of a terminal, or removes it if `text` is empty; does nothing if standard
    /// error is not a terminal.
    void ShowStatus(const QString& text);
    bool HasStatusLine() const noexcept { return FHasStatusLine; }
    /// The width of the terminal, in columns.
    int Width() const;
    /// Removes the status line, and throws OutputEnded when anything printed was lost.
    void Flush();
    /// Writes out the printed lines, so that a reader of the file or pipe sees them immediately.
    void FlushLines();

    /// Set by a signal; Print throws from then on.
    std::atomic<bool> Interrupted{false};

private:
    void EraseStatus();

    std::mutex FMutex;  // guards standard output, standard error and FStatus
    QString FStatus;
    const bool FHasStatusLine = IsTerminal();
    static bool IsTerminal();
};

/// Prints a JSON array of objects, one on each line, as they are added.
class JsonArrayPrinter {
public:
    explicit JsonArrayPrinter(Terminal& terminal) : FTerminal(terminal) {}
    void Add(const QJsonObject& object);
    void End();

private:
    Terminal& FTerminal;
    bool FIsEmpty = true;
};

}  // namespace podcasts::cli
