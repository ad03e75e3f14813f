#pragma once
// Standard output and standard error: safe text, JSON, and a line that is drawn over.

#include "VEXA.Runtime.Mutex.h"

#include <QJsonObject>
#include <QString>

#include <atomic>
#include <exception>

namespace podcasts::cli {

/// Thrown where output goes on although nobody reads it any more, or the user asked to stop. Ends the program.
class OutputEnded : public std::exception {};

/// Text that is safe on a terminal: control characters and the like, which feeds may hold, become blanks. Line breaks
/// stay.
QString SafeText(const QString& text);
/// The same in one line, its runs of blanks as one.
QString OneLine(const QString& text);

/// `text` cut or padded with blanks to `width` columns of a terminal.
QString InColumns(const QString& text, int width);

/// Any thread may call it; lines never mix.
class Terminal {
public:
    /// Prints to standard output. Throws OutputEnded when that fails.
    void Print(const QString& text);
    void PrintLine(const QString& text) { Print(text + u'\n'); }
    /// Prints "podcasts: MESSAGE" to standard error.
    void Complain(const QString& message);
    /// Draws the line at the bottom of a terminal anew; does nothing elsewhere. Empty takes it away.
    void ShowStatus(const QString& text);
    bool HasStatusLine() const noexcept { return FHasStatusLine; }
    /// Columns of the terminal.
    int Width() const;
    /// Takes the status line away, and throws OutputEnded when anything printed was lost.
    void Flush();
    /// Sends what was printed on its way, for whoever follows a file or a pipe.
    void FlushLines();

    /// Set by a signal; from then on Print throws.
    std::atomic<bool> Interrupted{false};

private:
    void EraseStatus() VEXA_REQUIRES(FMutex);

    vexa::TMutex FMutex;  // guards standard output and standard error, too
    QString FStatus VEXA_GUARDED_BY(FMutex);
    const bool FHasStatusLine = IsTerminal();
    static bool IsTerminal();
};

/// Prints a JSON array of objects, one a line, as they come.
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
