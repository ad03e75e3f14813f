#include "OpmlDocument.h"

#include "FeedDocument.h"
#include "Prose.h"

std::string OpmlDocument(std::span<const Show> shows, std::string_view base) {
    std::string xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<opml version=\"2.0\">\n"
        "<head>\n<title>Subscriptions</title>\n</head>\n<body>\n";
    for (const Show& show : shows) {
        const std::string title = Escaped(show.Title);
        xml += "<outline type=\"rss\" text=\"" + title + "\" title=\"" + title + "\" xmlUrl=\"" +
               Escaped(FeedUrl(show, base)) + "\"/>\n";
    }
    return xml + "</body>\n</opml>\n";
}
