#include "Podcasts.Core.Locating.h"

#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Log.h"
#include "VEXA.Runtime.Url.h"

#include <QFileInfo>
#include <QUrl>

#include <algorithm>
#include <optional>

namespace podcasts {

using vexa::Reason;

namespace {

constexpr int kMaxMoves = 5;  // documents that name a new address, one after another

/// The part after the scheme, for schemes that mean "a feed" and do not say how to fetch it.
std::optional<QString> AfterFeedScheme(const QString& text) {
    for (const auto scheme : {u"feed:", u"itpc:", u"pcast:", u"podcast:"})
        if (text.startsWith(QStringView(scheme), Qt::CaseInsensitive)) return text.sliced(QStringView(scheme).size());
    return std::nullopt;
}

QString WithoutSlashes(const QString& text) {
    return text.startsWith(u"//") ? text.sliced(2) : text;
}

bool HasScheme(const QString& text) {
    const qsizetype delimiter = text.indexOf(u"://");
    return delimiter >= 0 && delimiter < text.indexOf(u'/');
}

/// A web address with its scheme in lower case, since feeds are identified by the exact text of their addresses.
QString WithPlainScheme(const QString& address) {
    const qsizetype end = address.indexOf(u':');
    return address.first(end).toLower() + address.sliced(end);
}

QStringList SecureFirst(const QString& withoutScheme) {
    return {u"https://" + withoutScheme, u"http://" + withoutScheme};
}

}  // namespace

QStringList FeedLocationsOf(const QString& text) {
    const QString trimmed = text.trimmed();
    if (IsLocalFeedFile(trimmed)) return {QFileInfo(trimmed).absoluteFilePath()};
    if (trimmed.startsWith(u"file:", Qt::CaseInsensitive)) {
        const QString name = QUrl(trimmed).toLocalFile();
        return IsLocalFeedFile(name) ? QStringList(QFileInfo(name).absoluteFilePath()) : QStringList();
    }
    if (vexa::IsUrl(trimmed)) return {WithPlainScheme(trimmed)};
    if (const auto rest = AfterFeedScheme(trimmed)) {
        const QString address = WithoutSlashes(*rest);
        if (vexa::IsUrl(address)) return {WithPlainScheme(address)};
        return !HasScheme(address) && vexa::IsUrl(u"https://" + address) ? SecureFirst(address) : QStringList();
    }
    return vexa::IsUrlWithoutScheme(trimmed) ? SecureFirst(trimmed) : QStringList();
}

bool IsFeedLocation(const QString& text) {
    return !FeedLocationsOf(text).isEmpty();
}

bool IsWholeFeedAddress(const QString& text) {
    if (std::any_of(text.begin(), text.end(), [](QChar c) { return c.isSpace(); })) return false;
    return vexa::IsUrl(text) || (AfterFeedScheme(text) && IsFeedLocation(text));
}

QString NormalizedFeedLocation(const QString& text) {
    const QStringList locations = FeedLocationsOf(text);
    return locations.isEmpty() ? text.trimmed() : locations.first();
}

QString FollowMoves(std::unique_ptr<TPodcastFeed>& feed, const TPodcastFeedDocument& document,
                    const TPodcastDocumentLoader& load, const TPodcastSubscriptionTest& isSubscribed) {
    using vexa::IsSameUrl;
    const QString origin = feed->Fields[pffURLFeed];
    const auto moved = [&](const QString& address) { return IsSameUrl(address, origin) ? QString() : address; };
    const QString redirected = document.MovedTo.isEmpty() ? origin : document.MovedTo;
    if (!moved(redirected).isEmpty() && isSubscribed(redirected)) return redirected;

    std::unique_ptr<TPodcastFeed> newest;  // the last feed read here; null while that is `feed`
    QString present = redirected;          // the address of the last feed
    QString source = document.Address;     // the address that its document came from
    QStringList seen{origin, redirected, source};
    const auto wasSeen = [&](const QString& address) {
        return std::any_of(seen.begin(), seen.end(), [&](const QString& known) { return IsSameUrl(known, address); });
    };
    for (int moves = 0; moves < kMaxMoves; ++moves) {
        const QString named = (newest ? newest : feed)->NewFeedURL;
        if (named.isEmpty() || IsSameUrl(named, present)) break;
        const QString next = vexa::WithCredentialsOf(present, named);
        if (IsSameUrl(next, source)) {  // temporary redirects have led there already
            present = next;
            break;
        }
        if (wasSeen(next)) return moved(redirected);  // the documents name each other
        if (isSubscribed(next)) return next;
        std::unique_ptr<TPodcastFeed> read;
        TPodcastFeedDocument place;
        try {
            const TPodcastFeedDocument loaded = load(next);
            place = {nullptr, loaded.Address, loaded.MovedTo.isEmpty() ? next : loaded.MovedTo};
            read = ParseFeedDocument(loaded, next);
            if (!read) throw vexa::ReasonError(DescribeMissingFeed(loaded));
        } catch (const std::exception& error) {
            // The feed stays where it is; the next refresh tries again.
            qCWarning(vexa::LogRefresh).noquote() << "cannot follow the feed" << vexa::MaskedUrl(origin) << "to"
                                                  << vexa::MaskedUrl(next) + u": " + QString::fromUtf8(error.what());
            break;
        }
        if (wasSeen(place.MovedTo)) return moved(redirected);
        if (isSubscribed(place.MovedTo)) return place.MovedTo;
        newest = std::move(read);
        present = place.MovedTo;
        source = place.Address;
        seen += {next, present, source};
    }
    if (newest) {
        feed = std::move(newest);
        feed->Fields[pffURLFeed] = origin;
    }
    return moved(present);
}

namespace {

/// Finds the feed at one location, and follows it if it has moved. Throws as LoadFeedDocument does.
TPodcastFoundFeed FindFeedAt(const QString& location, const TPodcastDocumentLoader& load,
                             const TPodcastSubscriptionTest& isSubscribed) {
    TPodcastFoundFeed found;
    found.Address = location;
    if (isSubscribed(location)) {
        found.IsSubscribed = true;
        return found;
    }
    TPodcastFeedDocument document = load(location);
    found.Feed = ParseFeedDocument(document, location);
    if (!found.Feed) {
        found.Error = DescribeMissingFeed(document);
        found.IsUnknownFormat = true;
        return found;
    }
    document.Tree.reset();
    if (const QString moved = FollowMoves(found.Feed, document, load, isSubscribed); !moved.isEmpty()) {
        found.Address = found.Feed->Fields[pffURLFeed] = moved;
        found.IsSubscribed = isSubscribed(moved);
    }
    return found;
}

/// The feed chosen from those that a page links to, or all of them as Choices.
TPodcastFoundFeed FindFeedOf(const TPodcastPageError& page, int choice, const TPodcastDocumentLoader& load,
                             const TPodcastSubscriptionTest& isSubscribed) {
    TPodcastFoundFeed found;
    const auto count = static_cast<int>(page.Feeds().size());
    if (count == 0) {
        found.Error = page.Why();
    } else if (choice > count) {
        found.Error = Reason(CoreReason("NoFeedOfNumber"), {QString::number(count), QString::number(choice)});
    } else if (choice == 0 && count > 1) {
        found.Choices = page.Feeds();
    } else {
        const QString& address = page.Feeds()[static_cast<std::size_t>(std::max(choice, 1) - 1)].Address;
        Reason problem;
        try {
            found = FindFeedAt(address, load, isSubscribed);
            problem = found.Error;
        } catch (const std::exception& error) {
            problem = vexa::ReasonOf(error);
        }
        if (problem) found.Error = Reason(CoreReason("NamedFeed"), {vexa::MaskedUrl(address), problem});
    }
    return found;
}

}  // namespace

TPodcastFoundFeed FindFeed(const QString& text, int choice, const TPodcastDocumentLoader& load,
                           const TPodcastSubscriptionTest& isSubscribed) {
    TPodcastFoundFeed found;
    const QStringList locations = FeedLocationsOf(text);
    for (const QString& location : locations) {
        if (!isSubscribed(location)) continue;
        found.Address = location;
        found.IsSubscribed = true;
        return found;
    }
    if (locations.isEmpty()) found.Error = DescribeMissingFeed({});
    bool hasAnswered = false;  // whether the failure in `found` is a server's answer
    for (const QString& location : locations) {
        TPodcastFoundFeed next;
        bool isAnswer = true;
        try {
            next = FindFeedAt(location, load, isSubscribed);
        } catch (const TPodcastPageError& page) {
            next = FindFeedOf(page, choice, load, isSubscribed);
        } catch (const vexa::HttpError& failure) {
            next.Error = failure.Why();
            next.IsTransient = failure.IsTransient();
            isAnswer = failure.What() != vexa::HttpErrorInfo::Kind::Network;
        } catch (const std::exception& failure) {
            next.Error = vexa::ReasonOf(failure);
        }
        if (!next.Error) return next;
        // Keep the more informative failure: a server's answer rather than a network error; of two answers the first.
        if (!found.Error || (isAnswer && !hasAnswered)) found = std::move(next);
        hasAnswered = hasAnswered || isAnswer;
    }
    return found;
}

}  // namespace podcasts
