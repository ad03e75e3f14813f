#include "Podcasts.Core.Fetching.h"

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

bool LooksLikeHtml(const QByteArray& bytes) {
    const QByteArray start = bytes.left(1024).trimmed().toLower();
    return start.startsWith("<!doctype html") || start.startsWith("<html");
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
    try {
        return std::make_unique<vexa::XmlDocument>(loaded.Body, loaded.Info.Charset);
    } catch (const vexa::XmlError&) {
        if (!LooksLikeHtml(loaded.Body)) throw;
        throw vexa::XmlError("the document is an HTML page, not a feed");
    }
}

std::unique_ptr<TPodcastFeed> ParseFeedDocument(std::unique_ptr<vexa::XmlDocument> document, const QString& location) {
    auto feed = document ? TPodcastParser::ParseDocument(*document) : nullptr;
    if (feed) feed->Fields[pffURLFeed] = location;
    return feed;
}

QString DescribeMissingFeed(const QString& location) {
    return IsFeedLocation(location)
               ? QStringLiteral("the document is neither an RSS 2.0 feed nor a feed of the iTunes store")
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
