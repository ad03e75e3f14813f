#pragma once
// Continues a download over several connections: decides what to request next, which responses continue the bytes that
// have arrived, and when to give up.
//
// A download is resumed only if the server confirms that the file is still the same. The request for the rest carries a
// strong validator (RFC 9110, sections 8.8 and 13.1.5), and the response must start at exactly the requested byte, have
// the same validator, and belong to a file of the same total size. Any other response is another file, or the same file
// from its start: the bytes that have arrived are discarded and the file is started again. So a file never has parts of
// two versions. docs/downloads.md describes the rules for users.

#include "VEXA.Runtime.Http.h"

#include <QByteArray>
#include <QString>

#include <chrono>

namespace podcasts {

/// Sets the unit of the pauses between attempts, which last 1, 2, 4, 8 and 15 units, for all downloads from now on. One
/// second, unless a test sets less.
void SetDownloadPauseUnit(std::chrono::milliseconds unit);

/// One object serves one download, on one thread. For each attempt, call Prepare with the request, Accept with the
/// headers of a successful response, Arrived with the size of every block, and then Decide to learn what to do next.
class TPodcastResumption {
public:
    enum class Answer {
        Continues,  // the body continues the bytes that have arrived
        Restarts,   // the body is a whole file: discard the bytes that have arrived before writing it
        Unusable,   // neither: refuse the body, and call Decide
    };
    struct Decision {
        enum class Kind { Done, Again, Failed };
        Kind What;
        std::chrono::milliseconds Pause{0};  // before the next attempt
        vexa::Reason Error{};                // why it failed
    };

    /// Requests the rest of the file if it can be resumed, else the whole file.
    void Prepare(vexa::HttpGet& request);
    Answer Accept(const vexa::HttpResponseInfo& response);
    /// Throws vexa::ReasonError when more bytes have arrived than the file has.
    void Arrived(std::size_t size);
    Decision Decide(const vexa::HttpErrorInfo& info);

    /// The number of bytes that have arrived, and the file's size; 0 while it is unknown.
    qint64 Held() const noexcept { return FHeld; }
    qint64 Size() const noexcept { return FSize; }

private:
    /// Whether the rest can be requested.
    bool CanResume() const noexcept;
    Decision AfterBreak(const vexa::Reason& why);
    Decision RequestWholeFile(const vexa::Reason& why);

    // About the version of the file that is being fetched.
    QByteArray FValidator;  // empty: there is no strong validator
    qint64 FSize = 0;
    qint64 FHeld = 0;

    // About the current attempt.
    qint64 FFirstRequested = 0;  // the first byte requested
    qint64 FHeldBefore = 0;      // FHeld when the body began
    bool FIsUnusable = false;    // whether Accept returned Unusable

    bool FHasBegun = false;      // the body of some response was accepted
    bool FIsWorthwhile = false;  // some attempt has brought enough bytes to be worth resuming
    int FRestarts = 0;           // how often the file was started again
    int FPauses = 0;             // since an attempt brought enough bytes
};

}  // namespace podcasts
