#pragma once
// Subscription lists in OPML 2.0 (opml.org, "OPML 2.0", section "Subscription lists").

#include <QByteArray>
#include <QString>

#include <vector>

namespace podcasts {

struct TPodcastOpmlOutline {
    QString Title;
    QString FeedURL;
};

/// The feeds of a list, in document order: the outlines at any depth that have an xmlUrl. Throws vexa::XmlError, also
/// for a document that is not OPML.
std::vector<TPodcastOpmlOutline> ReadOpml(const QByteArray& bytes);

/// A flat list, UTF-8.
QByteArray WriteOpml(const QString& title, const std::vector<TPodcastOpmlOutline>& outlines);

}  // namespace podcasts
