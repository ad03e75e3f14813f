#include "Podcasts.Core.Subscribing.h"

#include <QFileInfo>
#include <QSaveFile>

#include <stdexcept>

namespace podcasts {

namespace {

using Result = TPodcastSubscription::Result;

TPodcastSubscription SubscribeTo(TPodcastClient& client, TPodcastFeedFetcher& fetcher, const QString& location,
                                 const QString& next, const vexa::CancelCheck& isCancelled) {
    TPodcastSubscription subscription;
    subscription.Location = location;
    try {
        if (client.IsSubscribed(location)) {
            if (const auto stored = client.DB().GetFeed(location, false))
                subscription.FeedTitle = stored->Fields[pffTitle];
            subscription.What = Result::AlreadySubscribed;
            return subscription;
        }
        auto document = fetcher.Take(location, isCancelled);
        if (!next.isEmpty() && !client.IsSubscribed(next)) fetcher.Begin(next);
        const auto feed = ParseFeedDocument(document.get(), location);
        if (!feed) {
            subscription.Error = DescribeMissingFeed(document.get());
            return subscription;
        }
        document.reset();
        subscription.FeedTitle = feed->Fields[pffTitle];
        // Somebody else may have subscribed while the document was on its way.
        const bool isNew = client.SubscribeNew(*feed);
        subscription.What = isNew ? Result::Subscribed : Result::AlreadySubscribed;
        if (isNew) subscription.EpisodeCount = client.DB().GetEpisodeCount(feed->ID);
    } catch (const std::exception& error) {
        subscription.Error = QString::fromUtf8(error.what());
    }
    return subscription;
}

}  // namespace

QString NormalizedFeedLocation(const QString& location) {
    const QString trimmed = location.trimmed();
    return IsLocalFeedFile(trimmed) ? QFileInfo(trimmed).absoluteFilePath() : trimmed;
}

void SubscribeByAddress(TPodcastClient& client, const QStringList& locations, const vexa::CancelCheck& isCancelled,
                        const std::function<void(const TPodcastSubscription&)>& finished) {
    TPodcastFeedFetcher fetcher;
    for (qsizetype i = 0; i < locations.size() && !isCancelled(); ++i) {
        const QString next = i + 1 < locations.size() ? NormalizedFeedLocation(locations[i + 1]) : QString();
        finished(SubscribeTo(client, fetcher, NormalizedFeedLocation(locations[i]), next, isCancelled));
    }
}

QStringList ReadOpmlFile(const QString& fileName) {
    const std::string failure = "cannot read " + fileName.toStdString() + ": ";
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) throw std::runtime_error(failure + file.errorString().toStdString());
    QStringList locations;
    try {
        for (const auto& outline : ReadOpml(file.readAll())) locations += outline.FeedURL;
    } catch (const std::exception& error) {
        throw std::runtime_error(failure + error.what());
    }
    locations.removeDuplicates();
    return locations;
}

void WriteOpmlFile(TPodcastClient& client, const QString& fileName) {
    const QByteArray opml = ExportOpml(client);
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(opml) != opml.size() || !file.commit())
        throw std::runtime_error("cannot write " + fileName.toStdString() + ": " + file.errorString().toStdString());
}

QByteArray ExportOpml(TPodcastClient& client) {
    std::vector<TPodcastOpmlOutline> outlines;
    client.DB().EnumFeeds([&](const QString& urlFeed, const QString& name, int) {
        outlines.push_back({name, urlFeed});
    });
    return WriteOpml(QStringLiteral("Podcast subscriptions"), outlines);
}

}  // namespace podcasts
