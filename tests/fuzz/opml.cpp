// Reads a list of subscriptions and writes it again.

#include "Fuzzing.h"
#include "Podcasts.Core.Fetching.h"
#include "Podcasts.Core.Subscribing.h"
#include "VEXA.Runtime.XML.h"

using namespace podcasts;
using fuzzing::Require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        std::vector<TPodcastOpmlOutline> outlines;
        for (const auto& outline :
             ReadOpml(QByteArray(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)))) {
            const QString location = NormalizedFeedLocation(outline.FeedURL);
            Require(location == NormalizedFeedLocation(location), "a location is stored in one spelling", location);
            // Only feed locations can be subscribed, so only those are exported.
            if (IsFeedLocation(location)) outlines.push_back({outline.Title, location});
        }
        const QByteArray written = WriteOpml(QStringLiteral("Podcasts"), outlines);
        const auto read = ReadOpml(written);
        Require(read.size() == outlines.size(), "every subscription is exported");
        for (std::size_t i = 0; i < read.size(); ++i) {
            const bool isPlain = !outlines[i].FeedURL.contains(QChar(0xFFFE)) &&
                                 !outlines[i].FeedURL.contains(QChar(0xFFFF)) && outlines[i].FeedURL.isValidUtf16();
            if (isPlain) Require(read[i].FeedURL == outlines[i].FeedURL, "an address stays", outlines[i].FeedURL);
        }
        Require(WriteOpml(QStringLiteral("Podcasts"), read) == written, "an exported list stays as it is");
    } catch (const vexa::XmlError&) {
    }
    return 0;
}
