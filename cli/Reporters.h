#pragma once
// Tell what becomes of each feed and each episode while the background tasks run.
//
// All printing is done on the main thread, by Report, which Session::RunUntilIdle calls again and again; the
// notifications only keep a terminal's status line moving.

#include <QHash>
#include <QString>

#include <vector>

#include "Session.h"

namespace podcasts::cli {

/// Collects the outcomes of all refresh tasks that run while it is registered.
class RefreshReporter final : public vexa::RefCountedObject<IPodcastClientRefreshFeedsListener> {
public:
    /// `isQuiet`: failures only.
    RefreshReporter(Session& session, bool isQuiet) : FSession(session), FIsQuiet(isQuiet) {}

    void RefreshFeedsStarted() override { FSeen = 0; }
    void RefreshFeedsFinished(bool) override { Report(); }
    void RefreshFeed(const QString& feedURL) override { FSession.Out().ShowStatus(u"fetching " + feedURL); }

    void Report();
    const std::vector<TPodcastRefreshOutcome>& Outcomes() const { return FOutcomes; }
    bool HasFailures() const { return FHasFailures; }

private:
    void Tell(const TPodcastRefreshOutcome& outcome);

    Session& FSession;
    const bool FIsQuiet;
    std::size_t FSeen = 0;  // of the running task's outcomes
    bool FHasFailures = false;
    std::vector<TPodcastRefreshOutcome> FOutcomes;
};

/// The same for downloads.
class DownloadReporter final : public vexa::RefCountedObject<IPodcastClientDownloadsListener> {
public:
    DownloadReporter(Session& session, bool isQuiet) : FSession(session), FIsQuiet(isQuiet) {}

    void DownloadsStarted() override { FSeen = 0; }
    void DownloadsFinished() override { Report(); }
    void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) override;

    void Report();
    const std::vector<TPodcastDownloadOutcome>& Outcomes() const { return FOutcomes; }
    bool HasFailures() const { return FHasFailures; }
    /// How a key of the engine is shown.
    QString ShownKey(const QString& episodeKey);

private:
    void Tell(const TPodcastDownloadOutcome& outcome);

    Session& FSession;
    const bool FIsQuiet;
    std::size_t FSeen = 0;
    bool FHasFailures = false;
    std::vector<TPodcastDownloadOutcome> FOutcomes;
    QHash<QString, QString> FShownKeys;
};

}  // namespace podcasts::cli
