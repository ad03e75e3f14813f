#pragma once
// From an XML document to a feed. The parsers take a tree and give a record: no network, no files, no state, no errors.
// What they do not find stays empty. docs/feeds.md says element by element what is read.
//
// Texts are taken as they stand. Of two elements with one effect the later wins, but one without text blanks nothing.
// Addresses are resolved (RFC 3986, section 5) against xml:base (XML Base) and the address of the document; those that
// are whole stay as they are written.
//
// Formats: RSS 2.0 (RSS Advisory Board, RSS 2.0) with the iTunes podcast tags; feeds of the iTunes
// store (Atom elements with the namespace prefix "im").

#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.XML.h"

#include <QString>

#include <memory>

namespace podcasts {

/// A parser: two operations of its class, offered as a row of a table.
class TPodcastParser {
public:
    virtual ~TPodcastParser() = default;

    /// `address`: what the document was loaded from, may be empty.
    virtual std::unique_ptr<TPodcastFeed> Parse(const vexa::XmlDocument& document, const QString& address) const = 0;
    /// Whether this parser recognises the document.
    virtual bool CanParse(const vexa::XmlDocument& document) const = 0;

    /// The feed of a document, by the first parser that recognises it (RSS 2.0, then the iTunes store); nothing when
    /// none does. pffURLFeed stays empty: it is the address that the caller loaded the document from.
    static std::unique_ptr<TPodcastFeed> ParseDocument(const vexa::XmlDocument& document, const QString& address = {});

protected:
    /// Gives an episode without GUID the MD5 digest (lower-case hexadecimal) of the UTF-8 bytes of its date
    /// ("yyyy.MM.dd hh:mm:ss") and title. Never to change: stored episodes are found again by it.
    static void MakeGUID(TPodcastEpisode& episode);
};

class TPodcastParserRSS20 final : public TPodcastParser {
public:
    std::unique_ptr<TPodcastFeed> Parse(const vexa::XmlDocument& document, const QString& address) const override;
    bool CanParse(const vexa::XmlDocument& document) const override;

    /// Seconds of "90", "1:30" or "01:02:03.5"; an unreadable part counts as 0, any other number of parts gives 0.
    static double ParseDuration(const QString& text);
};

class TPodcastParserITunes final : public TPodcastParser {
public:
    std::unique_ptr<TPodcastFeed> Parse(const vexa::XmlDocument& document, const QString& address) const override;
    bool CanParse(const vexa::XmlDocument& document) const override;
};

}  // namespace podcasts
