#pragma once
// Loads one feed document and parses it into a feed. Podcasts.Core.FetchRun.h fetches many documents ahead.

#include "Podcasts.Core.Classes.h"
#include "Podcasts.Core.DocumentNotes.h"
#include "VEXA.Runtime.Html.h"
#include "VEXA.Runtime.Http.Fetcher.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.XML.h"

#include <QString>

#include <memory>
#include <optional>
#include <vector>

namespace podcasts {

/// Whether `text` names an existing local file that matches "*.xml;".
bool IsLocalFeedFile(const QString& text);

/// A link from a page to a feed.
using TPodcastFeedLink = vexa::HtmlLink;

/// Thrown when the document is an HTML page, with the feeds that the page links to.
class TPodcastPageError : public vexa::XmlError {
public:
    explicit TPodcastPageError(std::vector<TPodcastFeedLink> feeds);

    const std::vector<TPodcastFeedLink>& Feeds() const noexcept { return FFeeds; }

private:
    std::vector<TPodcastFeedLink> FFeeds;
};

struct TPodcastFeedDocument {
    std::unique_ptr<vexa::XmlDocument> Tree;  // null when the location is invalid, and for an unchanged document
    QString Address;                          // the address that the document came from, after all redirects
    QString MovedTo;                          // where permanent redirects led; empty when there were none
    TPodcastDocumentNote Note{};              // the note to store for a document from the web
    bool IsUnchanged = false;                 // it is the known document, which was not read again
};

/// Loads the document at `location`. Returns one without a tree when the location is neither a web address nor a local
/// feed file. Throws HttpError, XmlError, TPodcastPageError, and ReasonError for a file that cannot be read.
TPodcastFeedDocument LoadFeedDocument(const QString& location, const vexa::CancelCheck& isCancelled);

/// A fetch with the limits of feed documents.
vexa::HttpFetch FeedDocumentFetch();
/// The request headers that let a server answer "not modified" for the known document (RFC 9110, section 13.1).
QList<QByteArray> ConditionsOf(const TPodcastDocumentNote& known);
/// The second half of LoadFeedDocument, for a document that has been fetched from `location`. A document that equals
/// `known` is not read. Nothing when the server answered "not modified" for a document other than `known`.
[[nodiscard]] std::optional<TPodcastFeedDocument> ReadFeedDocument(const QString& location, vexa::HttpDocument loaded,
                                                                   const std::optional<TPodcastDocumentNote>& known);

/// The feed in a loaded document, with pffURLFeed set to `location`; nothing when the document has no tree or no parser
/// recognises it. Throws XmlError when the document is so damaged that fewer than half of its items can be read.
std::unique_ptr<TPodcastFeed> ParseFeedDocument(const TPodcastFeedDocument& document, const QString& location);

/// Why a document contains no feed, or why there is no document at its location.
vexa::Reason DescribeMissingFeed(const TPodcastFeedDocument& document);

}  // namespace podcasts
