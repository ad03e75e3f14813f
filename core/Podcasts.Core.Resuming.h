#pragma once
// How a download outlives its connections: what is asked for next, which answer goes on with the bytes that are there,
// and when nothing is left to try.
//
// A file is taken up again only where the server vouches that it is still the one that was begun. The request for the
// rest carries a strong validator (RFC 9110, sections 8.8 and 13.1.5), and the answer must be the rest, from exactly
// the byte that was asked for, with the same validator and of a whole of the same size. Any other answer is another
// file, or this one from its start: what is there goes, and the file begins anew. So a file never holds parts of two
// versions. docs/downloads.md tells the rules from the outside.

#include "VEXA.Runtime.Http.h"

#include <QByteArray>
#include <QString>

#include <chrono>

namespace podcasts {

/// The unit of the pauses between attempts, which are 1, 2, 4, 8 and 15 of them; for all downloads from now on. A
/// second, unless a test asks for less.
void SetDownloadPauseUnit(std::chrono::milliseconds unit);

/// One object serves one download, on one thread. Each attempt goes: Prepare a request, hand the headers of a success
/// to Accept and the size of every block to Arrived, and ask After what follows.
class TPodcastResumption {
public:
    enum class Answer {
        GoesOn,      // the body follows the bytes that are there
        BeginsAnew,  // the body is a whole file: what is there must go before it is written
        IsUseless,   // neither: refuse the body, and ask After
    };
    struct Decision {
        enum class Kind { Done, Again, Failed };
        Kind What;
        std::chrono::milliseconds Pause{0};  // before the next attempt
        QString Error{};                     // why it failed
    };

    /// Asks for the rest of the file where that can be had, else for all of it.
    void Prepare(vexa::HttpGet& request);
    Answer Accept(const vexa::HttpResponseInfo& response);
    /// Throws std::runtime_error when that is more than the file has.
    void Arrived(std::size_t size);
    Decision After(const vexa::HttpErrorInfo& info);

    /// How many bytes of the file are there, and how many it has; 0 while that is unknown.
    qint64 Held() const noexcept { return FHeld; }
    qint64 Size() const noexcept { return FSize; }

private:
    /// Whether the rest can be asked for.
    bool CanGoOn() const noexcept;
    Decision AfterBreak(const QString& reason);
    Decision AskForAll(const QString& reason);

    // Of the version that is being fetched.
    QByteArray FValidator;  // empty: there is none to rely on
    qint64 FSize = 0;
    qint64 FHeld = 0;

    // Of the present attempt.
    qint64 FAsked = 0;        // the first byte
    qint64 FHeldBefore = 0;   // FHeld when its body began
    bool FIsUseless = false;  // its answer

    bool FHasBegun = false;      // some answer had a body that was taken
    bool FIsWorthwhile = false;  // some attempt has brought enough to be taken up again
    int FRestarts = 0;           // how often the file has begun anew
    int FPauses = 0;             // since an attempt brought enough
};

}  // namespace podcasts
