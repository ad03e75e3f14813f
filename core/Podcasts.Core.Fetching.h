#pragma once
// Loading one feed document and making a feed of it. Podcasts.Core.FetchRun.h fetches many of them ahead.

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

/// A feed that a page names.
using TPodcastFeedLink = vexa::HtmlLink;

/// The document is an HTML page, which may name feeds.
class TPodcastPageError : public vexa::XmlError {
public:
    explicit TPodcastPageError(std::vector<TPodcastFeedLink> feeds);

    const std::vector<TPodcastFeedLink>& Feeds() const noexcept { return FFeeds; }

private:
    std::vector<TPodcastFeedLink> FFeeds;
};

struct TPodcastFeedDocument {
    std::unique_ptr<vexa::XmlDocument> Tree;  // null: the location was none
    QString Address;                          // that the document came from, after all redirects
    QString MovedTo;                          // where permanent redirects led; empty when there were none
    TPodcastDocumentNote Note{};              // what there is to note of a web document
    bool IsUnchanged = false;                 // it is the document that was known; there is no tree
};

/// Loads the document at `location`. An empty one when the location is neither a web address nor a local feed file.
/// Throws HttpError, XmlError, TPodcastPageError and what reading a file throws.
TPodcastFeedDocument LoadFeedDocument(const QString& location, const vexa::CancelCheck& isCancelled);

/// What a feed's document may be: its bounds.
vexa::HttpFetch FeedDocumentFetch();
/// Request headers by which a server answers that the known document has not changed (RFC 9110, section 13.1).
QList<QByteArray> ConditionsOf(const TPodcastDocumentNote& known);
/// LoadFeedDocument's second half, for a document that has been fetched from `location`. With `known`, one that has not
/// changed is not read. Nothing when the server says so of another document than the one that is known.
[[nodiscard]] std::optional<TPodcastFeedDocument> ReadFeedDocument(const QString& location, vexa::HttpDocument loaded,
                                                                   const std::optional<TPodcastDocumentNote>& known);

/// The feed of a loaded document (or of none), its pffURLFeed set to `location`; nothing when no parser recognises it.
/// Throws XmlError when the document is so damaged that fewer than half of its items can be read.
std::unique_ptr<TPodcastFeed> ParseFeedDocument(const TPodcastFeedDocument& document, const QString& location);

/// Why there is no feed in a document, or at a location that gave none.
QString DescribeMissingFeed(const TPodcastFeedDocument& document);

}  // namespace podcasts
