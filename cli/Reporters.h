#pragma once
// Print the result for each feed and each episode while the background tasks run.
//
// All lines are printed on the main thread, by Report, which Session::RunUntilIdle calls repeatedly; the notifications
// only update a terminal's status line.

#include "Session.h"
#include "VEXA.Runtime.Url.h"

#include <QHash>
#include <QString>

#include <vector>

namespace podcasts::cli {

/// Prints one line that says how many items a stopped command has not processed; nothing when `count` is 0.
void PrintDropped(Session& session, qsizetype count);

/// Collects the outcomes of all tasks of one kind that run while it is registered as a listener.
template <class Outcome>
class OutcomeReporter {
public:
    /// Prints the outcomes since the last call.
    void Report();
    const std::vector<Outcome>& Outcomes() const { return FOutcomes; }
    bool HasFailures() const { return FHasFailures; }

protected:
    /// `isQuiet`: print failures only.
    OutcomeReporter(Session& session, const TPodcastOutcomes<Outcome>& source, bool isQuiet)
        : FSession(session), FSource(source), FIsQuiet(isQuiet) {}
    ~OutcomeReporter() = default;

    /// Call when a task of this kind begins: the client has then cleared its outcomes.
    void Restart() { FSeen = 0; }
    virtual QString SuccessText(const Outcome& outcome) = 0;
    virtual QString FailureText(const Outcome& outcome) = 0;

    Session& FSession;

private:
    const TPodcastOutcomes<Outcome>& FSource;
    const bool FIsQuiet;
    std::size_t FSeen = 0;  // how many of the running task's outcomes have been printed
    bool FHasFailures = false;
    std::vector<Outcome> FOutcomes;
};

class RefreshReporter final : public vexa::RefCountedObject<IPodcastClientRefreshFeedsListener>,
                              public OutcomeReporter<TPodcastRefreshOutcome> {
public:
    RefreshReporter(Session& session, bool isQuiet)
        : OutcomeReporter(session, session.Client().RefreshOutcomes(), isQuiet) {}

    void RefreshFeedsStarted() override { Restart(); }
    void RefreshFeedsFinished(bool) override { Report(); }
    void RefreshFeed(const QString& feedURL) override {
        FSession.Out().ShowStatus(u"fetching " + vexa::MaskedUrl(feedURL));
    }

private:
    QString SuccessText(const TPodcastRefreshOutcome& outcome) override;
    QString FailureText(const TPodcastRefreshOutcome& outcome) override;
};

class DownloadReporter final : public vexa::RefCountedObject<IPodcastClientDownloadsListener>,
                               public OutcomeReporter<TPodcastDownloadOutcome> {
public:
    DownloadReporter(Session& session, bool isQuiet)
        : OutcomeReporter(session, session.Client().DownloadOutcomes(), isQuiet) {}

    void DownloadsStarted() override { Restart(); }
    void DownloadsFinished() override { Report(); }
    void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) override;

    /// The short key that is printed for a key of the engine.
    QString ShownKey(const QString& episodeKey);

private:
    QString SuccessText(const TPodcastDownloadOutcome& outcome) override;
    QString FailureText(const TPodcastDownloadOutcome& outcome) override;

    QHash<QString, QString> FShownKeys;
};

}  // namespace podcasts::cli
