#include "Podcasts.Core.Classes.h"

#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Files.h"

namespace podcasts {

namespace {

// Leaves room for " (2)" and an extension in the file system's 255 bytes.
constexpr qsizetype kMaxComponentLength = 235;

const TPodcastEpisode& EpisodeOf(const void* context) {
    return *static_cast<const TPodcastInfoFormatStringContext*>(context)->Episode;
}

const TPodcastFeed& FeedOf(const void* context) {
    return *static_cast<const TPodcastInfoFormatStringContext*>(context)->Feed;
}

QString EpisodeFileName(const QString& urlAudio) {
    QString name = vexa::ExtractFileName(urlAudio);
    if (const qsizetype query = name.lastIndexOf(u'?'); query >= 0) name.truncate(query);
    return vexa::ToFileNameComponent(name);
}

}  // namespace

TPodcastEpisode& TPodcastFeed::NewEpisode() {
    FEpisodes.push_back(std::make_unique<TPodcastEpisode>());
    FEpisodes.back()->State = pesNew;
    return *FEpisodes.back();
}

bool TPodcastFeed::FindEpisode(const QString& guid, TPodcastEpisode*& episode) const {
    for (const auto& candidate : FEpisodes) {
        if (candidate->Fields[pefGUID] != guid) continue;
        episode = candidate.get();
        return true;
    }
    return false;
}

QString MakeURI(const QString& text) {
    const qsizetype delimiter = text.indexOf(u"://");
    return delimiter >= 1 ? u"podcast" + text.sliced(delimiter) : text;
}

QString EpisodeURI(const TPodcastEpisode& episode, const TPodcastFeed& feed) {
    const QString& audio = episode.Fields[pefURLAudio];
    const bool hasTime = !episode.Fields[pefGUID].isEmpty() && audio.contains(u"time");
    return hasTime ? StandInURI(episode, feed) : MakeURI(audio);
}

QString StandInURI(const TPodcastEpisode& episode, const TPodcastFeed& feed) {
    return MakeURI(feed.Fields[pffURLFeed] + u"-/" + episode.Fields[pefGUID]);
}

QString MakeFormat(const QString& addressOrFile) {
    return vexa::FileFormat(addressOrFile);
}

QString MakeEpisodeKey(int feedID, const QString& guid) {
    return kEpisodeKeyDelimiter + QString::number(feedID) + kEpisodeKeyDelimiter + guid;
}

TPodcastInfoFormatString::TPodcastInfoFormatString() {
    FKeepUnknown = true;  // a typing error should be visible in the file name
    FTrimResult = false;  // the template is a path, whose blanks the user has chosen
    RegisterMacros();
}

const TPodcastInfoFormatString& TPodcastInfoFormatString::Instance() {
    static const TPodcastInfoFormatString instance;
    return instance;
}

QString TPodcastInfoFormatString::Expand(const QString& templateText, const TPodcastFeed& feed,
                                         const TPodcastEpisode& episode) {
    const TPodcastInfoFormatStringContext context{&episode, &feed};
    QString path = Instance().Evaluate(templateText, &context).toString();
    path.replace(u'\\', u'/');
    QStringList components = path.split(u'/');
    const QStringList written = QString(templateText).replace(u'\\', u'/').split(u'/');
    for (qsizetype i = 0; i < components.size(); ++i) {
        QString& component = components[i];
        // With empty values, "%FeedCategory%.%EpisodeArtist%.%FeedTitle%" must not leave its folder.
        if ((component == u"." || component == u"..") && written.value(i) != component) component.fill(u'_');
        component = vexa::ClampComponent(component, kMaxComponentLength);
    }
    return components.join(u'/');
}

void TPodcastInfoFormatString::RegisterMacros() {
    using vexa::ToFileNameComponent;
    FormatStringFactory::RegisterMacros();
    RegisterFunction(QStringLiteral("ExtractFileExt"), [](const QString& text) { return vexa::ExtractFileExt(text); });
    RegisterMacro(QStringLiteral("EpisodeArtist"),
                  [](const void* context) { return ToFileNameComponent(EpisodeOf(context).Fields[pefArtist]); });
    RegisterMacro(QStringLiteral("EpisodeFileName"),
                  [](const void* context) { return EpisodeFileName(EpisodeOf(context).Fields[pefURLAudio]); });
    RegisterMacro(QStringLiteral("EpisodePublishDate"), [](const void* context) {
        return vexa::FormatOleDate(EpisodeOf(context).PublishDate, u"yyyy.MM.dd hh-mm");
    });
    RegisterMacro(QStringLiteral("EpisodeTitle"),
                  [](const void* context) { return ToFileNameComponent(EpisodeOf(context).Fields[pefTitle]); });
    RegisterMacro(QStringLiteral("FeedCategory"),
                  [](const void* context) { return ToFileNameComponent(FeedOf(context).Fields[pffCategory]); });
    RegisterMacro(QStringLiteral("FeedTitle"),
                  [](const void* context) { return ToFileNameComponent(FeedOf(context).Fields[pffTitle]); });
}

}  // namespace podcasts
