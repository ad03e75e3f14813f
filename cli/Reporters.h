#pragma once
// Tell what becomes of each feed and each episode while the background tasks run.
//
// All printing is done on the main thread, by Report, which Session::RunUntilIdle calls again and again; the
// notifications only keep a terminal's status line moving.

#include "Session.h"
#include "VEXA.Runtime.Url.h"

#include <QHash>
#include <QString>

#include <vector>

namespace podcasts::cli {

/// Says in one line what a stopped command leaves undone, if anything.
void ComplainOfDropped(Session& session, qsizetype count);

/// Collects the outcomes of all tasks of one kind that run while it is registered as a listener.
template <class Outcome>
class OutcomeReporter {
public:
    /// Tells what is new since the last call.
    void Report();
    const std::vector<Outcome>& Outcomes() const { return FOutcomes; }
    bool HasFailures() const { return FHasFailures; }

protected:
    /// `isQuiet`: failures only.
    OutcomeReporter(Session& session, const TPodcastOutcomes<Outcome>& source, bool isQuiet)
        : FSession(session), FSource(source), FIsQuiet(isQuiet) {}
    ~OutcomeReporter() = default;

    /// A task of this kind has begun: the client's outcomes begin anew.
    void Restart() { FSeen = 0; }
    virtual QString SuccessText(const Outcome& outcome) = 0;
    virtual QString FailureText(const Outcome& outcome) = 0;

    Session& FSession;

private:
    const TPodcastOutcomes<Outcome>& FSource;
    const bool FIsQuiet;
    std::size_t FSeen = 0;  // of the running task's outcomes
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

    /// How a key of the engine is shown.
    QString ShownKey(const QString& episodeKey);

private:
    QString SuccessText(const TPodcastDownloadOutcome& outcome) override;
    QString FailureText(const TPodcastDownloadOutcome& outcome) override;

    QHash<QString, QString> FShownKeys;
};

}  // namespace podcasts::cli
