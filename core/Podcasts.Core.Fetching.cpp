#include "Podcasts.Core.Fetching.h"

#include "Podcasts.Core.Documents.h"
#include "Podcasts.Core.Parsers.h"
#include "Podcasts.Core.Reasons.h"
#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Reasons.h"

#include <QFile>

#include <xxhash.h>

#include <utility>

namespace podcasts {

using vexa::Reason;
using vexa::ReasonError;

namespace {

constexpr int kNotModified = 304;
constexpr qint64 kMaxFeedBytes = 64 * 1024 * 1024;  // bytes, after decompression

QByteArray ReadFeedFile(const QString& fileName) {
    QFile file(fileName);
    const auto fail = [&] { throw ReasonError(Reason(CoreReason("Unreadable"), {vexa::FileReason(file)})); };
    if (!file.open(QIODevice::ReadOnly)) fail();
    if (file.size() > kMaxFeedBytes)
        throw ReasonError(Reason(vexa::RuntimeReason("TooLarge"), {QString::number(kMaxFeedBytes / (1024 * 1024))}));
    // Not read(kMaxFeedBytes), which would allocate that much memory first, however small the file.
    QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) fail();
    return bytes;
}

/// Throws if recovery has saved too little of a document, because its feed would replace the complete stored one.
void CheckLosses(const vexa::XmlDocument& document, const TPodcastFeed& feed) {
    const std::size_t promised = document.CountStartTags("item") + document.CountStartTags("entry");
    const auto found = static_cast<std::size_t>(feed.EpisodeCount());
    if (found * 2 >= promised) return;
    throw vexa::XmlError(Reason(CoreReason("Damaged"), {QString::number(found), QString::number(promised)}));
}

/// The 128-bit XXH3 digest in hexadecimal digits. It only tells whether the same bytes have come again, so it need not
/// resist attacks: a publisher could mislead only the readers of its own feed.
QByteArray DigestOf(const QByteArray& body) {
    XXH128_canonical_t bytes;
    XXH128_canonicalFromHash(&bytes, XXH3_128bits(body.constData(), static_cast<std::size_t>(body.size())));
    return QByteArray(reinterpret_cast<const char*>(bytes.digest), sizeof bytes.digest).toHex();
}

}  // namespace

bool IsLocalFeedFile(const QString& text) {
    return vexa::FileExists(text) && vexa::MatchesFileMask(text, QStringLiteral("*.xml;"));
}

TPodcastPageError::TPodcastPageError(std::vector<TPodcastFeedLink> feeds)
    : XmlError(DescribeHtmlPage()), FFeeds(std::move(feeds)) {}

TPodcastFeedDocument LoadFeedDocument(const QString& location, const vexa::CancelCheck& isCancelled) {
    if (vexa::IsUrl(location))
        return *ReadFeedDocument(location, vexa::HttpGetDocument(location, kMaxFeedBytes, isCancelled), {});
    if (IsLocalFeedFile(location)) return *ReadFeedDocument(location, {ReadFeedFile(location), {}}, {});
    return {nullptr, location, {}};
}

vexa::HttpFetch FeedDocumentFetch() {
    vexa::HttpFetch fetch;
    fetch.MaxBytes = kMaxFeedBytes;
    return fetch;
}

QList<QByteArray> ConditionsOf(const TPodcastDocumentNote& known) {
    QList<QByteArray> conditions;
    if (!known.ETag.isEmpty()) conditions += "If-None-Match: " + known.ETag;
    if (!known.LastModified.isEmpty()) conditions += "If-Modified-Since: " + known.LastModified;
    return conditions;
}

std::optional<TPodcastFeedDocument> ReadFeedDocument(const QString& location, vexa::HttpDocument loaded,
                                                     const std::optional<TPodcastDocumentNote>& known) {
    const vexa::HttpResponseInfo& info = loaded.Info;
    TPodcastFeedDocument document;
    document.Address = info.Address.isEmpty() ? location : info.Address;
    document.MovedTo = info.MovedTo;
    if (info.Status == kNotModified) {
        // If another address answers, "not modified" refers to another document.
        if (!known || known->Address != document.Address) return std::nullopt;
        document.Note = *known;
        if (!info.ETag.isEmpty()) document.Note.ETag = info.ETag;
        if (!info.LastModified.isEmpty()) document.Note.LastModified = info.LastModified;
        document.IsUnchanged = true;
        return document;
    }
    if (info.Status != 0) {
        const QByteArray digest = DigestOf(loaded.Body);
        document.Note = {document.Address, info.Charset, info.ETag, info.LastModified, digest, {}};
        document.IsUnchanged =
            known && known->Digest == digest && known->Charset == info.Charset && known->Address == document.Address;
        if (document.IsUnchanged) {
            document.Note.WantedAddress = known->WantedAddress;
            return document;
        }
    }
    const auto throwPage = [&] {
        throw TPodcastPageError(vexa::FindHtmlLinks(loaded.Body, loaded.Info.Charset, document.Address,
                                                    QStringLiteral("alternate"),
                                                    QStringLiteral("application/rss+xml")));
    };
    const auto checkBeginning = [&] {
        if (IsHtmlPage(loaded.Body, loaded.Info.MimeType)) throwPage();
        if (const Reason foreign = DescribeForeignDocument(loaded.Body)) throw vexa::XmlError(foreign);
    };
    try {
        document.Tree = std::make_unique<vexa::XmlDocument>(loaded.Body, loaded.Info.Charset);
    } catch (const vexa::XmlError&) {
        checkBeginning();
        throw;
    }
    // Recovery can turn the tags of a page into a tree that does not look like a page; and a page can be well-formed.
    if (document.Tree->IsRecovered()) checkBeginning();
    if (IsHtmlPage(*document.Tree)) throwPage();
    return document;
}

std::unique_ptr<TPodcastFeed> ParseFeedDocument(const TPodcastFeedDocument& document, const QString& location) {
    // Relative addresses are resolved against the address that the feed has from now on.
    const QString& base = document.MovedTo.isEmpty() ? location : document.MovedTo;
    auto feed = document.Tree ? TPodcastParser::ParseDocument(*document.Tree, base) : nullptr;
    if (!feed) return nullptr;
    if (document.Tree->IsRecovered()) CheckLosses(*document.Tree, *feed);
    feed->Fields[pffURLFeed] = location;
    return feed;
}

Reason DescribeMissingFeed(const TPodcastFeedDocument& document) {
    return document.Tree ? DescribeForeignDocument(*document.Tree) : Reason(CoreReason("NoLocation"));
}

}  // namespace podcasts
