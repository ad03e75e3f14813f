// Expands a template with a feed's texts to a file name. Parts: the template, title, artist, category, audio address,
// date.

#include "Fuzzing.h"
#include "Podcasts.Core.Classes.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Files.h"

#include <QStringList>

using namespace podcasts;
using fuzzing::Require;

namespace {

constexpr qsizetype kMaxNameLength = 255;  // bytes of a component, the limit of file systems

QStringList Components(QString path) {
    return path.replace(u'\\', u'/').split(u'/');
}

void CheckComponent(const QString& text) {
    const QString component = vexa::ToFileNameComponent(text);
    Require(component.toUtf8().size() <= 200, "a component is short", component);
    Require(!component.contains(u'/') && !component.contains(u'\\') && !component.contains(QChar::Null),
            "a component is one", component);
    Require(component != u"." && component != u"..", "a component is a name", component);
    Require(component.isValidUtf16(), "a component has whole characters", component);
    Require(vexa::ToFileNameComponent(component) == component, "a component stays as it is", component);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QList<QByteArray> parts = fuzzing::Parts(data, size, 6);
    QStringList texts;
    for (const QByteArray& part : parts) texts += QString::fromUtf8(part);
    TPodcastFeed feed;
    feed.Fields[pffTitle] = feed.Fields[pffCategory] = texts[3];
    TPodcastEpisode& episode = feed.NewEpisode();
    episode.Fields[pefTitle] = texts[1];
    episode.Fields[pefArtist] = texts[2];
    episode.Fields[pefURLAudio] = texts[4];
    episode.PublishDate = vexa::DecodeRfc822Date(texts[5]);
    for (const QString& text : texts) CheckComponent(text);

    const QString name = TPodcastInfoFormatString::Expand(texts[0], feed, episode);
    const QStringList written = Components(texts[0]), components = name.split(u'/');
    Require(!name.contains(u'\\'), "folders are separated in one way", name);
    Require(name.contains(QChar::Null) <= texts[0].contains(QChar::Null), "no name is cut short", name);
    // An argument of a function may contain delimiters, which the function removes.
    Require(components.size() <= written.size(), "what a feed says makes no folder", name);
    Require(components.count(QStringLiteral("..")) <= written.count(QStringLiteral("..")),
            "what a feed says climbs out of no folder", name);
    for (const QString& component : components)
        Require(component.toUtf8().size() <= kMaxNameLength, "a file system takes the name", name);
    // A template that begins with a delimiter, or with a macro, may give an absolute name.
    if (!texts[0].startsWith(u'/') && !texts[0].startsWith(u'\\') && !written[0].contains(u'%'))
        Require(!name.startsWith(u'/'), "a relative name stays one", name);
    return 0;
}
