#include "Podcasts.Core.Subscribing.h"

#include <QFile>
#include <QSaveFile>

#include <stdexcept>
#include <utility>

namespace podcasts {

namespace {

using Result = TPodcastSubscription::Result;

TPodcastSubscription SubscribeTo(TPodcastClient& client, TPodcastFeedFetcher& fetcher, const QString& text, int choice,
                                 const QString& next, const vexa::CancelCheck& isCancelled) {
    TPodcastSubscription subscription;
    const QStringList locations = FeedLocationsOf(text);
    subscription.Location = locations.size() == 1 ? locations.first() : text.trimmed();
    const auto isSubscribed = [&](const QString& address) { return client.IsSubscribed(address); };
    // The first document may have been fetched ahead; what it leads to is fetched here, while the next one comes.
    const auto load = [&, isFirst = true](const QString& location) mutable {
        if (!std::exchange(isFirst, false)) return LoadFeedDocument(location, isCancelled);
        auto document = fetcher.Take(location, isCancelled);
        if (!next.isEmpty() && !client.IsSubscribed(next)) fetcher.Begin(next);
        return document;
    };
    try {
        TPodcastFoundFeed found = FindFeed(text, choice, load, isSubscribed);
        subscription.Error = found.Error;
        if (!found.Error.isEmpty()) return subscription;
        if (!found.Choices.empty()) {
            subscription.What = Result::SeveralFeeds;
            subscription.Choices = std::move(found.Choices);
            return subscription;
        }
        subscription.Location = found.Address;
        // Somebody else may have subscribed while the document was on its way.
        const bool isNew = !found.IsSubscribed && client.SubscribeNew(*found.Feed);
        subscription.What = isNew ? Result::Subscribed : Result::AlreadySubscribed;
        if (isNew) {
            subscription.FeedTitle = found.Feed->Fields[pffTitle];
            subscription.EpisodeCount = client.DB().GetEpisodeCount(found.Feed->ID);
        } else if (const auto stored = client.DB().GetFeed(found.Address, false)) {
            subscription.FeedTitle = stored->Fields[pffTitle];
        }
    } catch (const std::exception& error) {
        subscription.What = Result::Failed;
        subscription.Error = QString::fromUtf8(error.what());
    }
    return subscription;
}

}  // namespace

void SubscribeByAddress(TPodcastClient& client, const QStringList& texts, int choice,
                        const vexa::CancelCheck& isCancelled,
                        const std::function<void(const TPodcastSubscription&)>& finished) {
    TPodcastFeedFetcher fetcher;
    for (qsizetype i = 0; i < texts.size() && !isCancelled(); ++i) {
        const QString next = i + 1 < texts.size() ? NormalizedFeedLocation(texts[i + 1]) : QString();
        finished(SubscribeTo(client, fetcher, texts[i], choice, next, isCancelled));
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
