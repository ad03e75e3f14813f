#pragma once
// Parses an XML document into a feed. The parsers turn a tree into a record, without network, files, state or errors.
// Missing values stay empty. docs/feeds.md lists the elements that are read.
//
// Texts are taken unchanged. If two elements set the same value, the later one wins, unless it has no text. Relative
// addresses are resolved (RFC 3986, section 5) against xml:base (XML Base) and the address of the document; absolute
// ones are left as they are written.
//
// Formats: RSS 2.0 (RSS Advisory Board, RSS 2.0) with the iTunes podcast tags; feeds of the iTunes
// store (Atom elements with the namespace prefix "im").

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.XML.h"

#include <QString>

#include <memory>

namespace podcasts {

/// A parser for one format.
class TPodcastParser {
public:
    virtual ~TPodcastParser() = default;

    /// `address`: the address that the document was loaded from; may be empty.
    virtual std::unique_ptr<TPodcastFeed> Parse(const vexa::XmlDocument& document, const QString& address) const = 0;
    /// Whether this parser recognises the document.
    virtual bool CanParse(const vexa::XmlDocument& document) const = 0;

    /// The feed in a document, read by the first parser that recognises it (RSS 2.0, then the iTunes store); nothing
    /// when none does. pffURLFeed stays empty; the caller sets it to the address that it loaded the document from.
    static std::unique_ptr<TPodcastFeed> ParseDocument(const vexa::XmlDocument& document, const QString& address = {});

protected:
    /// Sets the GUID of an episode that has none: the MD5 digest (lower-case hexadecimal) of the UTF-8 bytes of its
    /// date
    /// ("yyyy.MM.dd hh:mm:ss") and title. This must never change, because stored episodes are recognised by it.
    static void MakeGUID(TPodcastEpisode& episode);
};

class TPodcastParserRSS20 final : public TPodcastParser {
public:
    std::unique_ptr<TPodcastFeed> Parse(const vexa::XmlDocument& document, const QString& address) const override;
    bool CanParse(const vexa::XmlDocument& document) const override;

    /// The seconds in "90", "1:30" or "01:02:03.5"; an unreadable part counts as 0, and more than three parts give 0.
    static double ParseDuration(const QString& text);
};

class TPodcastParserITunes final : public TPodcastParser {
public:
    std::unique_ptr<TPodcastFeed> Parse(const vexa::XmlDocument& document, const QString& address) const override;
    bool CanParse(const vexa::XmlDocument& document) const override;
};

}  // namespace podcasts
