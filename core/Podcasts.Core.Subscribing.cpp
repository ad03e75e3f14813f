#include "Podcasts.Core.Subscribing.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.FileReason.h"

#include <QFile>
#include <QHash>
#include <QSaveFile>

#include <algorithm>
#include <map>
#include <utility>

namespace podcasts {

using vexa::Reason;

namespace {

using Result = TPodcastSubscription::Result;

/// The texts in their order, with deferred ones at the end.
class TextQueue final : public IPodcastFetchQueue {
public:
    explicit TextQueue(QStringList texts) : FTexts(std::move(texts)) {}

    QStringList Upcoming(qsizetype count) const override { return FTexts.first(std::min(count, FTexts.size())); }
    bool TakeNext(const QString& item) override {
        if (FTexts.isEmpty() || FTexts.first() != item) return false;
        FTexts.removeFirst();
        return true;
    }
    void Defer(const QString& item) override {
        if (FTexts.removeOne(item)) FTexts.append(item);
    }

private:
    QStringList FTexts;
};

/// The location of the first document of each text; empty for a feed that is subscribed to already and need not be
/// read.
class Locations {
public:
    explicit Locations(TPodcastClient& client) : FClient(client) {}

    QString Of(const QString& text) {
        auto known = FKnown.find(text);
        if (known == FKnown.end()) {
            const QString location = NormalizedFeedLocation(text);
            known = FKnown.insert(text, FClient.IsSubscribed(location) ? QString() : location);
        }
        return *known;
    }

private:
    TPodcastClient& FClient;
    QHash<QString, QString> FKnown;
};

/// Handles one turn of the run. Sets `isTransient` when a second try may succeed.
TPodcastSubscription SubscribeTo(TPodcastClient& client, TPodcastFetchRun& run, const QString& text,
                                 const QString& firstLocation, int choice, const vexa::CancelCheck& isCancelled,
                                 bool& isTransient) {
    TPodcastSubscription subscription;
    const QStringList locations = FeedLocationsOf(text);
    subscription.Location = locations.size() == 1 ? locations.first() : text.trimmed();
    const auto isSubscribed = [&](const QString& address) { return client.IsSubscribed(address); };
    // The first document has been fetched ahead; those that it leads to are fetched here.
    const auto load = [&, isFirst = true](const QString& location) mutable {
        const bool isAhead = std::exchange(isFirst, false) && location == firstLocation;
        return isAhead ? run.TakeDocument() : LoadFeedDocument(location, isCancelled);
    };
    try {
        TPodcastFoundFeed found = FindFeed(text, choice, load, isSubscribed);
        subscription.Error = found.Error;
        isTransient = found.IsTransient;
        if (found.Error) return subscription;
        if (!found.Choices.empty()) {
            subscription.What = Result::SeveralFeeds;
            subscription.Choices = std::move(found.Choices);
            return subscription;
        }
        subscription.Location = found.Address;
        // Another thread or program may have subscribed to the feed meanwhile.
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
        subscription.Error = vexa::ReasonOf(error);
    }
    return subscription;
}

}  // namespace

void SubscribeByAddress(TPodcastClient& client, const QStringList& texts, int choice,
                        const vexa::CancelCheck& isCancelled,
                        const std::function<void(const TPodcastSubscription&)>& finished) {
    TextQueue queue(texts);
    Locations locations(client);
    TPodcastFetchRun run(
        queue, [&](const QString& text) { return locations.Of(text); }, {}, isCancelled);
    // By text: results that a second try may replace; several if the text is in the list more than once.
    std::map<QString, std::vector<TPodcastSubscription>> firstTries;
    while (const auto turn = run.Next()) {
        bool isTransient = false;
        auto subscription =
            SubscribeTo(client, run, turn->Item, locations.Of(turn->Item), choice, isCancelled, isTransient);
        auto& others = firstTries[turn->Item];
        if (isTransient && !turn->IsSecondTry) {
            run.TryAgain();
            others.push_back(std::move(subscription));
            continue;
        }
        const std::size_t count = others.size() + (turn->IsSecondTry ? 0 : 1);
        for (std::size_t i = 0; i < count; ++i) finished(subscription);
        others.clear();
    }
    for (const auto& [text, subscriptions] : firstTries)
        for (const auto& subscription : subscriptions) finished(subscription);
    for (const QString& text : queue.Upcoming(texts.size())) {
        TPodcastSubscription dropped;
        dropped.Location = text;
        dropped.Error = TaskStopped();
        dropped.IsDropped = true;
        finished(dropped);
    }
}

QStringList ReadOpmlFile(const QString& fileName) {
    const auto fail = [&](const Reason& cause) {
        throw vexa::ReasonError(Reason(CoreReason("CannotRead"), {fileName, cause}));
    };
    QFile file(fileName);
    if (!file.open(QIODevice::ReadOnly)) fail(vexa::FileReason(file));
    QStringList locations;
    try {
        for (const auto& outline : ReadOpml(file.readAll())) locations += outline.FeedURL;
    } catch (const std::exception& error) {
        fail(vexa::ReasonOf(error));
    }
    locations.removeDuplicates();
    return locations;
}

void WriteOpmlFile(TPodcastClient& client, const QString& fileName) {
    const QByteArray opml = ExportOpml(client);
    QSaveFile file(fileName);
    if (!file.open(QIODevice::WriteOnly) || file.write(opml) != opml.size() || !file.commit())
        throw vexa::ReasonError(Reason(CoreReason("CannotWrite"), {fileName, vexa::FileReason(file)}));
}

QByteArray ExportOpml(TPodcastClient& client) {
    std::vector<TPodcastOpmlOutline> outlines;
    client.DB().EnumFeeds([&](const QString& urlFeed, const QString& name, int) {
        outlines.push_back({name, urlFeed});
    });
    return WriteOpml(QStringLiteral("Podcast subscriptions"), outlines);
}

}  // namespace podcasts
