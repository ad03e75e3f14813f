#include "Commands.h"

#include "Reporters.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

namespace podcasts::cli {

namespace {

const QString kNew = QStringLiteral("--new");

}  // namespace

void CheckDownload(const Arguments& arguments) {
    if (arguments.Has(kNew) == !arguments.Operands.isEmpty())
        throw UsageError(QStringLiteral("name episodes by their keys, or give --new (not both)"));
}

int RunDownload(Session& session, const Arguments& arguments) {
    Session::FoundEpisodes found;
    QStringList& keys = found.Keys;
    if (arguments.Has(kNew)) {
        keys = session.Client().NewEpisodesToDownload();
    } else {
        found = session.FindEpisodes(arguments.Operands);
        // The queue is last in, first out, but given keys are to be downloaded in their order. (New episodes are listed
        // newest first, and so are downloaded oldest first.)
        std::reverse(keys.begin(), keys.end());
    }
    keys.removeDuplicates();  // episodes of several feeds may have the same address
    const vexa::Ref<DownloadReporter> reporter(new DownloadReporter(session, arguments.Json));
    session.Client().Listeners().Add(vexa::Ref<vexa::IUnknown>(reporter.Get()));
    // The queue treats keys that differ only in letter case as the same key, so queue those without an outcome again.
    QStringList waiting = keys;
    for (qsizetype left = -1; !waiting.isEmpty() && waiting.size() != left && !session.IsInterrupted();) {
        left = waiting.size();
        session.Client().DownloadEpisodes(waiting);
        session.RunUntilIdle([&] { reporter->Report(); });
        QSet<QString> done;
        for (const auto& outcome : reporter->Outcomes()) done += outcome.EpisodeKey;
        waiting.removeIf([&](const QString& key) { return done.contains(key); });
    }
    session.Out().ShowStatus(QString());
    if (session.IsInterrupted()) return kFailed;
    if (arguments.Json) {
        QJsonArray downloaded, failed;
        for (const auto& outcome : reporter->Outcomes()) {
            const QString key = reporter->ShownKey(outcome.EpisodeKey);
            if (!outcome.Error)
                downloaded += QJsonObject{{QStringLiteral("key"), key}, {QStringLiteral("file"), outcome.FileName}};
            else
                failed += QJsonObject{{QStringLiteral("key"), key}, {QStringLiteral("error"), outcome.Error.English()}};
        }
        const QJsonObject result{{QStringLiteral("downloaded"), downloaded}, {QStringLiteral("failed"), failed}};
        session.Out().PrintLine(QString::fromUtf8(QJsonDocument(result).toJson(QJsonDocument::Compact)));
    } else if (keys.isEmpty() && found.Unknown == 0) {
        session.Out().PrintLine(QStringLiteral("nothing to download"));
    }
    return reporter->HasFailures() || found.Unknown > 0 ? kFailed : kDone;
}

}  // namespace podcasts::cli
