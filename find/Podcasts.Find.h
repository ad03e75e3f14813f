#pragma once
// Finds podcasts by words: asks all chosen directories at once, hands their podcasts on as they come, and unites what
// several directories know of one feed.
//
// A directory that fails is named with the reason and holds up no other. After status 403 or 429 it is not asked again
// for an hour, or for as long as it says, if that is longer; the owner keeps that time in the options, so that it holds
// for later searches.

#include "Podcasts.Find.Answers.h"
#include "Podcasts.Find.Options.h"
#include "VEXA.Runtime.Reason.h"
#include "VEXA.Runtime.Threads.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace podcasts {

/// How a directory's part in a search ended.
struct TPodcastDirectoryOutcome {
    std::size_t Directory = 0;  // its number
    vexa::Reason Error;         // none when it answered
    bool WasAsked = true;       // false: it rests
    int Rows = 0;               // how many podcasts it knew
    QDateTime RestsUntil;       // it has refused just now, and is not asked before; invalid when it has not
};

/// One search at a time. Main thread only; callbacks are called there, while its event loop (or DrainMainThreadUntil)
/// runs, never by Find itself. A callback may start another search, cancel this one, or destroy the finder.
class TPodcastFinder {
public:
    struct Events {
        /// A podcast is new, or a directory that answered later knew more of it: its place in Rows. Rows keep their
        /// places.
        std::function<void(std::size_t row)> Found;
        std::function<void(const TPodcastDirectoryOutcome&)> DirectoryDone;
        /// Every directory has answered or failed. Not called for a cancelled search.
        std::function<void()> Completed;
    };
    using Clock = std::function<QDateTime()>;  // any thread
    /// The addresses of all feeds that are subscribed, their former ones included. Called on a worker thread.
    using Subscriptions = std::function<QStringList()>;

    explicit TPodcastFinder(Subscriptions subscriptions, Clock now = QDateTime::currentDateTimeUtc);
    /// Cancels, and waits for the transfers' end, which takes some 50 ms, and for `subscriptions`.
    ~TPodcastFinder();
    TPodcastFinder(const TPodcastFinder&) = delete;
    TPodcastFinder& operator=(const TPodcastFinder&) = delete;

    /// Starts a search, and cancels the one before. Without words it asks for what is most popular. `limit`: how many
    /// podcasts each directory is asked for. Throws ReasonError when there is no directory that could be asked.
    void Find(const QString& words, int limit, const TPodcastFindOptions& options, Events events);
    /// Ends the search at once. What was found stays in Rows.
    void Cancel();
    bool IsRunning() const noexcept;

    /// What the last search has found, in the order of arrival.
    const std::vector<TPodcastFindRow>& Rows() const noexcept { return FRows; }
    /// Rows by their best places in the directories' answers: the order for a list that is shown once, at the end.
    std::vector<TPodcastFindRow> RankedRows() const;

private:
    class Search;
    class AskTask;
    class SubscriptionsTask;

    /// Takes a directory's answer.
    void Deliver(const std::shared_ptr<Search>& search, std::vector<TPodcastFindRow> rows,
                 const TPodcastDirectoryOutcome& outcome);
    /// Returns the places of the rows that are new or have changed.
    std::vector<std::size_t> Unite(Search& search, std::vector<TPodcastFindRow> rows);

    const Subscriptions FSubscriptions;
    const Clock FNow;
    std::vector<TPodcastFindRow> FRows;
    std::shared_ptr<Search> FSearch;  // the one that runs; null when none does
    std::vector<vexa::TaskHandle> FTasks;
};

}  // namespace podcasts
