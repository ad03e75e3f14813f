#include "FeedDocument.h"

#include "Prose.h"
#include "Random.h"

#include <algorithm>
#include <cstdio>

namespace {

using namespace std::chrono;

constexpr std::string_view kNamespaces =
    R"(xmlns:itunes="http://www.itunes.com/dtds/podcast-1.0.dtd" xmlns:atom="http://www.w3.org/2005/Atom")"
    R"( xmlns:content="http://purl.org/rss/1.0/modules/content/")";

// No generated show is older than podcasting itself: a show with very many episodes publishes more often.
constexpr seconds kMaxLife = days(15 * 365);

std::string Tag(std::string_view name, std::string_view text) {
    std::string tag;
    (tag += '<').append(name) += '>';
    tag += Escaped(text);
    (tag += "</").append(name) += ">\n";
    return tag;
}

std::string Keywords(Random& random, const Language& language) {
    return Words(random, language, 1) + ", " + Words(random, language, 1) + ", " + Words(random, language, 1);
}

std::string Duration(std::int64_t length, DurationForm form) {
    char text[32];
    const auto minutes = static_cast<int>(length / 60);
    const auto seconds = static_cast<int>(length % 60);
    switch (form) {
        case DurationForm::Seconds:
            return std::to_string(length);
        case DurationForm::Clock:
            std::snprintf(text, sizeof text, "%02d:%02d:%02d", minutes / 60, minutes % 60, seconds);
            return text;
        case DurationForm::MinutesAndSeconds:
            std::snprintf(text, sizeof text, "%d:%02d", minutes, seconds);
            return text;
    }
    return {};
}

std::string CategoryTag(const Category& category) {
    const std::string open = "<itunes:category text=\"" + Escaped(category.Name) + '"';
    if (category.Inner.empty()) return open + "/>\n";
    return open + "><itunes:category text=\"" + Escaped(category.Inner) + "\"/></itunes:category>\n";
}

std::string Channel(const Show& show, const FeedShape& shape) {
    Random random{show.Number, 0};
    const std::string site = shape.Base + "/shows/" + show.Name;
    const std::string about = Sentence(random, *show.Tongue) + Sentence(random, *show.Tongue);
    std::string xml = Tag("title", show.Title) + Tag("link", site) + Tag("language", show.Tongue->Code) +
                      Tag("copyright", "© 2025 " + show.Author) + Tag("description", about) +
                      Tag("generator", "Show Press 4.2") +
                      Tag("lastBuildDate", Rfc822(show.NewestAt, show.PublishedIn));
    xml +=
        "<atom:link href=\"" + Escaped(FeedUrl(show, shape.Base)) + "\" rel=\"self\" type=\"application/rss+xml\"/>\n";
    xml += "<image>\n" + Tag("url", shape.Base + "/art/" + show.Name + ".jpg") + Tag("title", show.Title) +
           Tag("link", site) + "</image>\n";
    xml += "<itunes:image href=\"" + shape.Base + "/art/" + show.Name + ".jpg\"/>\n";
    xml += Tag("itunes:author", show.Author) + Tag("itunes:subtitle", Words(random, *show.Tongue, 6)) +
           Tag("itunes:summary", about) + Tag("itunes:type", "episodic") + Tag("itunes:explicit", show.Explicit) +
           Tag("itunes:keywords", Keywords(random, *show.Tongue));
    xml += "<itunes:owner>\n" + Tag("itunes:name", show.Author) + Tag("itunes:email", show.Name + "@shows.example") +
           "</itunes:owner>\n";
    return xml + CategoryTag(show.Subject);
}

std::string Guid(const Show& show, Random& random, const std::string& page, const std::string& audio) {
    switch (show.Guids) {
        case GuidForm::Page:
            return "<guid>" + Escaped(page) + "</guid>\n";
        case GuidForm::Audio:
            return "<guid isPermaLink=\"false\">" + Escaped(audio) + "</guid>\n";
        case GuidForm::Opaque:
            break;
    }
    char id[64];
    const std::uint64_t high = random.Next();
    const std::uint64_t low = random.Next();
    std::snprintf(id, sizeof id, "%08llx-%04llx-%04llx-%04llx-%012llx", high >> 32 & 0xFFFFFFFFull,
                  high >> 16 & 0xFFFFull, high & 0xFFFFull, low >> 48 & 0xFFFFull, low & 0xFFFFFFFFFFFFull);
    return "<guid isPermaLink=\"false\">" + std::string(id) + "</guid>\n";
}

/// `number` counts from 1 for the oldest episode. The result depends only on the show and the number.
std::string Episode(const Show& show, const FeedShape& shape, std::int64_t number) {
    Random random{show.Number, static_cast<std::uint64_t>(number)};
    const Language& language = *show.Tongue;
    const seconds spacing = std::min(show.Spacing, kMaxLife / shape.Episodes);
    const seconds lateness{random.Between(0, spacing.count() / 8)};
    const sys_seconds published = show.NewestAt + (number - shape.Episodes) * spacing + lateness;

    const std::string ordinal = std::to_string(number);
    const std::string title = Words(random, language, static_cast<int>(random.Between(3, 7)));
    const std::string page = shape.Base + "/shows/" + show.Name + '/' + ordinal;
    const std::string audio = shape.Base + "/audio/" + show.Name + "/episode-" + ordinal +
                              std::string(show.Audio.Extension) + (random.OneIn(3) ? "?from=feed&v=2" : "");
    const std::int64_t length = random.Between(9 * 60, 118 * 60);
    const bool isBonus = random.OneIn(25);
    const std::string notes = Notes(random, language, shape.NotesLeast, shape.NotesMost);

    std::string xml = "<item>\n";
    xml += Tag("title", std::string(language.EpisodeWord) + ' ' + ordinal + ": " + title) + Tag("itunes:title", title) +
           Tag("itunes:episodeType", isBonus ? "bonus" : "full") +
           Tag("itunes:season", std::to_string(1 + number / 40)) + Tag("itunes:episode", ordinal) + Tag("link", page);
    xml += Guid(show, random, page, audio);
    xml += Tag("pubDate", Rfc822(published, show.PublishedIn)) + Tag("itunes:author", show.Author) +
           Tag("itunes:subtitle", Words(random, language, 6)) + Tag("itunes:summary", Sentence(random, language));
    xml += "<description>";
    xml += show.NotesAre == NotesForm::CData ? "<![CDATA[" + notes + "]]>" : Escaped(notes);
    xml += "</description>\n";
    xml += "<enclosure url=\"" + Escaped(audio) + "\" length=\"" + std::to_string(length * 16'000) + "\" type=\"" +
           std::string(show.Audio.Name) + "\"/>\n";
    xml += Tag("itunes:duration", Duration(length, show.Durations)) + Tag("itunes:explicit", show.Explicit) +
           Tag("itunes:keywords", Keywords(random, language));
    xml += "<itunes:image href=\"" + shape.Base + "/art/" + show.Name + '-' + ordinal + ".jpg\"/>\n";
    return xml + "</item>\n";
}

}  // namespace

std::string FeedDocument(const Show& show, const FeedShape& shape) {
    std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<rss version=\"2.0\" ";
    xml += kNamespaces;
    xml += ">\n<channel>\n" + Channel(show, shape);
    for (std::int64_t number = shape.Episodes + shape.Newer; number > 0; --number) xml += Episode(show, shape, number);
    return xml + "</channel>\n</rss>\n";
}

std::string FeedUrl(const Show& show, std::string_view base) {
    return std::string(base) + '/' + show.Name + ".xml";
}
