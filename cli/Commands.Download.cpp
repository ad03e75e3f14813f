#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include "Commands.h"
#include "VEXA.Runtime.Text.h"

namespace podcasts::cli {

namespace {

QString Size(qint64 bytes) {
    return bytes < 1'000'000 ? QString::number(bytes / 1000) + u" kB"
                             : QString::number(static_cast<double>(bytes) / 1e6, 'f', 1) + u" MB";
}

QString ProgressLine(qint64 position, qint64 size, const QString& caption, int width) {
    if (size <= 0) return Size(position) + u"  " + caption;
    constexpr int kBar = 24;
    const auto share = static_cast<double>(position) / static_cast<double>(std::max<qint64>(size, 1));
    const int filled = std::clamp(static_cast<int>(share * kBar), 0, kBar);
    const QString line = u'[' + QString(filled, u'#') + QString(kBar - filled, u'-') + u"] " +
                         QString::number(static_cast<int>(share * 100)).rightJustified(3) + u" %  " + Size(position) +
                         u" of " + Size(size) + u"  " + caption;
    return line.left(width);
}

/// Shows progress, and tells what became of each episode as soon as the next one moves.
class Reporter final : public vexa::RefCountedObject<IPodcastClientDownloadsListener> {
public:
    Reporter(Session& session, bool json) : FSession(session), FJson(json) {}

    void DownloadsStarted() override { FSeen = 0; }
    void DownloadsFinished() override { ReportNewOutcomes(); }
    void DownloadsProgress(std::int64_t position, std::int64_t size, const QString& caption) override {
        ReportNewOutcomes();
        Terminal& out = FSession.Out();
        if (out.HasStatusLine()) out.ShowStatus(ProgressLine(position, size, caption, out.Width() - 1));
    }

    /// How a key of the engine is shown.
    QHash<QString, QString> ShownKeys;
    /// The last outcome of each key, in the order of the first.
    std::vector<TPodcastDownloadOutcome> Outcomes;

private:
    // On the downloading thread while it runs and on the main thread once it has ended: never on both at a time.
    void ReportNewOutcomes() {
        for (auto& outcome : FSession.Client().DownloadOutcomes().From(FSeen)) {
            ++FSeen;
            const QString key = ShownKeys.value(outcome.EpisodeKey, outcome.EpisodeKey);
            if (!outcome.Error.isEmpty())
                FSession.Out().Complain(u"cannot download " + key + u": " + outcome.Error);
            else if (!FJson && !FSession.IsInterrupted())
                FSession.Out().PrintLine(u"downloaded " + key + u" to " + outcome.FileName);
            Outcomes.push_back(std::move(outcome));
        }
    }

    Session& FSession;
    const bool FJson;
    std::size_t FSeen = 0;
};

}  // namespace

int RunDownload(Session& session, const Arguments& arguments) {
    const bool onlyNew = arguments.Has(QStringLiteral("--new"));
    if (onlyNew == !arguments.Operands.isEmpty())
        throw UsageError(QStringLiteral("name episodes by their keys, or give --new (not both)"));
    int unknown = 0;
    QStringList keys;
    const vexa::Ref<Reporter> reporter(new Reporter(session, arguments.Json));
    if (onlyNew) {
        session.DB().EnumNewEpisodes([&](const QString& uri) {
            if (!uri.isEmpty()) keys += uri;
        });
    } else {
        keys = session.FindEpisodes(arguments.Operands, unknown);
    }
    keys.removeDuplicates();  // one address may be an episode of several feeds
    for (const QString& key : keys) {
        if (const auto episode = session.DB().GetEpisode(key))
            reporter->ShownKeys.insert(key, session.Keys().Short(episode->FeedID, episode->Fields[pefGUID]));
    }
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(reporter.Get()));
    // The queue takes keys that differ only in letter case for one; whatever had no outcome is asked for again.
    // Newest first into the queue means oldest first out of it; named keys are wanted in the order given.
    QStringList waiting = keys;
    if (!onlyNew) std::reverse(waiting.begin(), waiting.end());
    while (!waiting.isEmpty() && !session.IsInterrupted()) {
        const std::size_t before = reporter->Outcomes.size();
        session.Client().DownloadEpisodes(waiting);
        session.RunUntilIdle();
        if (reporter->Outcomes.size() == before) break;
        QSet<QString> done;
        for (std::size_t i = before; i < reporter->Outcomes.size(); ++i) done += reporter->Outcomes[i].EpisodeKey;
        waiting.removeIf([&](const QString& key) { return done.contains(key); });
    }
    session.Client().Listeners().Clear();
    session.Out().ShowStatus(QString());

    QJsonArray downloaded, failed;
    for (const auto& outcome : reporter->Outcomes) {
        const QString key = reporter->ShownKeys.value(outcome.EpisodeKey, outcome.EpisodeKey);
        if (outcome.Error.isEmpty())
            downloaded += QJsonObject{{QStringLiteral("key"), key}, {QStringLiteral("file"), outcome.FileName}};
        else
            failed += QJsonObject{{QStringLiteral("key"), key}, {QStringLiteral("error"), outcome.Error}};
    }
    if (session.IsInterrupted()) return kFailed;
    if (arguments.Json) {
        const QJsonObject result{{QStringLiteral("downloaded"), downloaded}, {QStringLiteral("failed"), failed}};
        session.Out().PrintLine(QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact)));
    } else if (keys.isEmpty() && unknown == 0) {
        session.Out().PrintLine(QStringLiteral("nothing to download"));
    }
    return failed.isEmpty() && unknown == 0 ? kDone : kFailed;
}

}  // namespace podcasts::cli
