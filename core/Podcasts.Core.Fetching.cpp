#include "Podcasts.Core.Fetching.h"

#include "Podcasts.Core.Documents.h"
#include "Podcasts.Core.Parsers.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Http.h"

#include <QFile>

#include <stdexcept>

namespace podcasts {

namespace {

constexpr qint64 kLargestFeed = 64 * 1024 * 1024;  // bytes, after decompression
constexpr auto kCancelPoll = std::chrono::milliseconds(20);

QByteArray ReadFeedFile(const QString& fileName) {
    QFile file(fileName);
    auto fail = [&](const QString& reason) { throw std::runtime_error(reason.toStdString()); };
    if (!file.open(QIODevice::ReadOnly)) fail(QStringLiteral("the file cannot be read: ") + file.errorString());
    if (file.size() > kLargestFeed)
        fail(QStringLiteral("the document is larger than %1 MiB").arg(kLargestFeed / (1024 * 1024)));
    // A read of at most so much would take that much memory first, however small the file.
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) fail(QStringLiteral("the file cannot be read: ") + file.errorString());
    return bytes;
}

/// Throws for a document of which mending left little: its feed would take the place of the whole one that is stored.
void CheckLosses(const vexa::XmlDocument& document, const TPodcastFeed& feed) {
    const std::size_t promised = document.CountStartTags("item") + document.CountStartTags("entry");
    const auto found = static_cast<std::size_t>(feed.EpisodeCount());
    if (found * 2 >= promised) return;
    throw vexa::XmlError("the document is damaged: only " + std::to_string(found) + " of its " +
                         std::to_string(promised) + " items can be read");
}

}  // namespace

bool IsLocalFeedFile(const QString& text) {
    return vexa::FileExists(text) && vexa::MatchesFileMask(text, QStringLiteral("*.xml;"));
}

bool IsFeedLocation(const QString& text) {
    return vexa::IsUrl(text) || IsLocalFeedFile(text);
}

std::unique_ptr<vexa::XmlDocument> LoadFeedDocument(const QString& location, const vexa::CancelCheck& isCancelled) {
    vexa::HttpDocument loaded;
    if (vexa::IsUrl(location))
        loaded = vexa::HttpGetDocument(location, kLargestFeed, isCancelled);
    else if (IsLocalFeedFile(location))
        loaded.Body = ReadFeedFile(location);
    else
        return nullptr;
    QString foreign;
    try {
        auto document = std::make_unique<vexa::XmlDocument>(loaded.Body, loaded.Info.Charset);
        // The tags of a page can be mended to a tree that shows no sign of it.
        if (document->IsRecovered()) foreign = DescribeForeignDocument(loaded.Body);
        if (foreign.isEmpty()) return document;
    } catch (const vexa::XmlError&) {
        foreign = DescribeForeignDocument(loaded.Body);
        if (foreign.isEmpty()) throw;
    }
    throw vexa::XmlError(foreign.toStdString());
}

std::unique_ptr<TPodcastFeed> ParseFeedDocument(const vexa::XmlDocument* document, const QString& location) {
    auto feed = document ? TPodcastParser::ParseDocument(*document, location) : nullptr;
    if (!feed) return nullptr;
    if (document->IsRecovered()) CheckLosses(*document, *feed);
    feed->Fields[pffURLFeed] = location;
    return feed;
}

QString DescribeMissingFeed(const vexa::XmlDocument* document) {
    return document ? DescribeForeignDocument(*document)
                    : QStringLiteral("this is neither an http or https address nor an existing .xml file");
}

TPodcastFeedFetcher::TPodcastFeedFetcher() : FThread([this] { Work(); }) {}

TPodcastFeedFetcher::~TPodcastFeedFetcher() {
    {
        std::unique_lock lock(FMutex);
        Drop(lock);
        FState = State::Stopping;
    }
    FChanged.notify_all();
    FThread.join();
}

/// Leaves the fetcher idle.
void TPodcastFeedFetcher::Drop(std::unique_lock<std::mutex>& lock) {
    if (FState == State::Requested) FState = State::Idle;
    if (FState == State::Running) {
        FAbandoned = true;
        FChanged.wait(lock, [this] { return FState != State::Running; });
    }
    FState = State::Idle;
    FDocument.reset();
    FError = nullptr;
}

void TPodcastFeedFetcher::Begin(const QString& location) {
    std::unique_lock lock(FMutex);
    if (FState != State::Idle && FLocation == location) return;
    Drop(lock);
    FAbandoned = false;
    FLocation = location;
    FState = State::Requested;
    FChanged.notify_all();
}

std::unique_ptr<vexa::XmlDocument> TPodcastFeedFetcher::Take(const QString& location,
                                                             const vexa::CancelCheck& isCancelled) {
    Begin(location);
    std::unique_lock lock(FMutex);
    while (FState != State::Done) {
        if (isCancelled && isCancelled()) FAbandoned = true;
        FChanged.wait_for(lock, kCancelPoll);
    }
    FState = State::Idle;
    if (FError) std::rethrow_exception(std::exchange(FError, nullptr));
    return std::move(FDocument);
}

void TPodcastFeedFetcher::Work() {
    std::unique_lock lock(FMutex);
    for (;;) {
        FChanged.wait(lock, [this] { return FState == State::Requested || FState == State::Stopping; });
        if (FState == State::Stopping) return;
        FState = State::Running;
        const QString location = FLocation;
        lock.unlock();
        std::unique_ptr<vexa::XmlDocument> document;
        std::exception_ptr error;
        try {
            document = LoadFeedDocument(location, [this] { return FAbandoned.load(); });
        } catch (...) {
            error = std::current_exception();
        }
        lock.lock();
        FDocument = std::move(document);
        FError = error;
        FState = State::Done;
        FChanged.notify_all();
    }
}

}  // namespace podcasts
