#include "Podcasts.Core.LibraryDocument.h"

#include "Podcasts.Core.Locating.h"
#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.FileTypes.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Url.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QSet>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace podcasts {

namespace {

const QString kFormat = QStringLiteral("vexa-podcasts-library");
constexpr int kVersion = 1;

const QString kFormatName = QStringLiteral("format"), kVersionName = QStringLiteral("version"),
              kFeeds = QStringLiteral("feeds"), kQueue = QStringLiteral("queue"),
              kSettings = QStringLiteral("settings"), kProfile = QStringLiteral("profile"),
              kFormerAddresses = QStringLiteral("former_addresses"), kOptions = QStringLiteral("options"),
              kEpisodes = QStringLiteral("episodes"), kPublished = QStringLiteral("published"),
              kDuration = QStringLiteral("duration"), kState = QStringLiteral("state"), kFeed = QStringLiteral("feed"),
              kUri = QStringLiteral("uri"), kGuid = QStringLiteral("guid");

/// A text of a record, and its member in the document.
struct Member {
    int Field;
    const char16_t* Chars;
    QString Name() const { return QString::fromUtf16(Chars); }
};
constexpr Member kFeedTexts[] = {
    {pffURLFeed, u"address"},   {pffTitle, u"title"},         {pffAuthor, u"author"},
    {pffCategory, u"category"}, {pffCopyright, u"copyright"}, {pffLanguage, u"language"},
    {pffURL, u"page"},          {pffURLLogo, u"logo"},        {pffDescription, u"description"},
};
constexpr Member kEpisodeTexts[] = {
    {pefURI, u"uri"},  {pefGUID, u"guid"},      {pefTitle, u"title"},           {pefArtist, u"artist"},
    {pefURL, u"page"}, {pefURLAudio, u"audio"}, {pefURLAudioCached, u"cached"}, {pefDescription, u"description"},
};
// Indexed by the state's number.
constexpr std::array kStates = {u"listened", u"new", u"postponed"};

// ---- Splitting a document into the texts of its values ----

[[noreturn]] void FailAt(qsizetype place, const QString& what) {
    throw TPodcastLibraryError(QStringLiteral("not a JSON document: %1 at byte %2").arg(what).arg(place));
}

/// Goes through a JSON object or array from value to value without reading what is inside them.
class Splitter {
public:
    explicit Splitter(QByteArrayView json) : FJson(json) {}

    /// Skips white space; the next character, or 0 at the end.
    char Peek() {
        while (FPlace < FJson.size() && QByteArrayView(" \t\r\n").contains(FJson[FPlace])) ++FPlace;
        return FPlace < FJson.size() ? FJson[FPlace] : '\0';
    }
    /// Skips this character if it comes next.
    bool Take(char wanted) {
        if (Peek() != wanted || wanted == '\0') return false;
        ++FPlace;
        return true;
    }
    void Require(char wanted) {
        if (Take(wanted)) return;
        if (Peek() == '\0') FailAt(FPlace, QStringLiteral("it ends too early,"));
        FailAt(FPlace, QStringLiteral("there is no \"%1\"").arg(QLatin1Char(wanted)));
    }
    void RequireEnd() {
        Peek();
        if (FPlace < FJson.size()) FailAt(FPlace, QStringLiteral("something follows its end"));
    }
    /// The text of the value that comes next.
    QByteArrayView Value() {
        Peek();
        const qsizetype begin = FPlace;
        int depth = 0;
        bool isInText = false;
        for (; FPlace < FJson.size(); ++FPlace) {
            const char c = FJson[FPlace];
            if (isInText) {
                if (c == '\\') ++FPlace;
                if (c != '"') continue;
                isInText = false;
            } else if (c == '"') {
                isInText = true;
                continue;
            } else if (c == '{' || c == '[') {
                ++depth;
                continue;
            } else if (c == '}' || c == ']') {
                if (depth == 0) return Since(begin);
                --depth;
            } else {
                if (depth == 0 && c == ',') return Since(begin);
                continue;
            }
            if (depth > 0) continue;
            ++FPlace;
            return Since(begin);
        }
        FailAt(FJson.size(), QStringLiteral("it ends too early,"));
    }

private:
    QByteArrayView Since(qsizetype begin) const {
        if (begin == FPlace) FailAt(begin, QStringLiteral("a value is missing"));
        return FJson.sliced(begin, FPlace - begin);
    }

    QByteArrayView FJson;
    qsizetype FPlace = 0;
};

QJsonValue Parse(QByteArrayView json, const QByteArray& whole) {
    // Only objects and arrays can be documents.
    QJsonParseError error;
    const QByteArray wrapped = '[' + json.toByteArray() + ']';
    const QJsonDocument document = QJsonDocument::fromJson(wrapped, &error);
    const QJsonArray values = document.array();
    if (error.error == QJsonParseError::NoError && values.size() == 1) return values.first();
    FailAt(json.data() - whole.data() + std::max(error.offset - 1, 0), error.errorString());
}

// ---- Values ----

/// Reads members of a JSON object; a missing one counts as empty. Throws for one of another type.
class Reader {
public:
    Reader(const QJsonValue& value, const QString& what) : FWhat(what) {
        if (!value.isObject()) throw TPodcastLibraryError(what + u" is not an object");
        FObject = value.toObject();
    }

    QString Text(const QString& name) const {
        const QJsonValue value = FObject[name];
        if (!value.isUndefined() && !value.isString()) Fail(name, u"a text");
        return value.toString();
    }
    QJsonArray List(const QString& name) const {
        const QJsonValue value = FObject[name];
        if (!value.isUndefined() && !value.isArray()) Fail(name, u"a list");
        return value.toArray();
    }
    QJsonObject Object(const QString& name) const {
        const QJsonValue value = FObject[name];
        if (!value.isUndefined() && !value.isObject()) Fail(name, u"an object");
        return value.toObject();
    }
    double Number(const QString& name) const {
        const QJsonValue value = FObject[name];
        if (!value.isUndefined() && !value.isDouble()) Fail(name, u"a number");
        return value.toDouble();
    }
    bool IsNumber(const QString& name) const { return FObject[name].isDouble(); }
    [[noreturn]] void Fail(const QString& name, QStringView wanted) const {
        throw TPodcastLibraryError(u"\"" + name + u"\" of " + FWhat + u" is not " + wanted);
    }

private:
    QJsonObject FObject;
    const QString FWhat;
};

/// Leaves out what is empty.
void Put(QJsonObject& json, const QString& name, const QString& text) {
    if (!text.isEmpty()) json.insert(name, text);
}

/// A date in words, unless only the number is exact.
QJsonValue DateToJson(double date) {
    const QDateTime time = vexa::FromOleDate(date);
    const QString text = time.toString(time.time().msec() == 0 ? Qt::ISODate : Qt::ISODateWithMs);
    return vexa::DecodeIsoDate(text) == date ? QJsonValue(text) : QJsonValue(date);
}

QJsonObject EpisodeToJson(const TPodcastStoredEpisodes::Row& row) {
    QJsonObject json;
    for (const Member& member : kEpisodeTexts)
        Put(json, member.Name(), vexa::FromUtf8(row.Fields[static_cast<std::size_t>(member.Field)]));
    // JSON has no infinity.
    if (row.PublishDate != 0 && std::isfinite(row.PublishDate)) json.insert(kPublished, DateToJson(row.PublishDate));
    if (row.Duration != 0 && std::isfinite(row.Duration)) json.insert(kDuration, row.Duration);
    const auto state = static_cast<std::size_t>(row.State);
    if (state < kStates.size()) json.insert(kState, QString::fromUtf16(kStates[state]));
    return json;
}

void ReadEpisode(const Reader& json, TPodcastEpisode& episode) {
    for (const Member& member : kEpisodeTexts)
        episode.Fields[static_cast<std::size_t>(member.Field)] = json.Text(member.Name());
    episode.PublishDate =
        json.IsNumber(kPublished) ? json.Number(kPublished) : vexa::DecodeIsoDate(json.Text(kPublished));
    const double duration = json.Number(kDuration);
    if (duration > 0 && duration <= std::numeric_limits<float>::max()) episode.Duration = static_cast<float>(duration);
    const QString state = json.Text(kState);
    if (state.isEmpty()) return;
    const auto found = std::find_if(kStates.begin(), kStates.end(), [&](auto name) { return state == name; });
    if (found == kStates.end()) json.Fail(kState, u"\"listened\", \"new\" or \"postponed\"");
    episode.State = static_cast<TPodcastEpisodeState>(found - kStates.begin());
}

QJsonObject FeedToJson(TPodcastsDB& db, const TPodcastFeed& feed, const TPodcastFeedOptions& options) {
    QJsonObject json, own;
    for (const Member& member : kFeedTexts)
        Put(json, member.Name(), feed.Fields[static_cast<std::size_t>(member.Field)]);
    if (const QStringList former = db.GetFormerFeedURLs(feed.ID); !former.isEmpty())
        json.insert(kFormerAddresses, QJsonArray::fromStringList(former));
    for (const TPodcastFeedOption& option : PodcastFeedOptions())
        if (const QString value = option.ValueIn(options); value != option.ValueIn({}))
            own.insert(option.Name(), value);
    if (!own.isEmpty()) json.insert(kOptions, own);
    QJsonArray episodes;
    const TPodcastStoredEpisodes stored = db.LoadStoredEpisodes(feed.ID);
    for (const auto& row : stored.Rows()) episodes += EpisodeToJson(row);
    json.insert(kEpisodes, episodes);
    return json;
}

TPodcastTakenFeed ReadFeed(const QJsonValue& value, const QString& what) {
    TPodcastTakenFeed taken;
    const Reader json(value, what);
    for (const Member& member : kFeedTexts)
        taken.Feed.Fields[static_cast<std::size_t>(member.Field)] = json.Text(member.Name());
    for (const QJsonValue address : json.List(kFormerAddresses))
        if (address.isString()) taken.FormerAddresses += address.toString();
    const QJsonObject options = json.Object(kOptions);
    for (auto each = options.begin(); each != options.end(); ++each)
        if (const auto* option = FindPodcastFeedOption(each.key()))
            static_cast<void>(option->SetValue(taken.Options, each.value().toString()));
    int number = 0;
    for (const QJsonValue episode : json.List(kEpisodes))
        ReadEpisode(Reader(episode, QStringLiteral("episode %1 of %2").arg(++number).arg(what)),
                    taken.Feed.NewEpisode());
    return taken;
}

}  // namespace

// ---- Reading ----

bool TPodcastLibraryDocument::BeginsLikeOne(QByteArrayView bytes) {
    if (bytes.startsWith("\xEF\xBB\xBF")) bytes = bytes.sliced(3);
    return Splitter(bytes).Peek() == '{';
}

TPodcastLibraryDocument::TPodcastLibraryDocument(QByteArray bytes) : FBytes(std::move(bytes)) {
    const QByteArrayView json = FBytes;
    Splitter document(json.startsWith("\xEF\xBB\xBF") ? json.sliced(3) : json);
    QJsonObject others;
    document.Require('{');
    for (bool isFirst = true; document.Peek() != '}'; isFirst = false) {
        if (!isFirst) document.Require(',');
        const QString name = Parse(document.Value(), FBytes).toString();
        document.Require(':');
        if (name != kFeeds) {
            others.insert(name, Parse(document.Value(), FBytes));
            continue;
        }
        document.Require('[');
        for (bool isFirstFeed = true; document.Peek() != ']'; isFirstFeed = false) {
            if (!isFirstFeed) document.Require(',');
            FFeeds.push_back(document.Value());
        }
        document.Require(']');
    }
    document.Require('}');
    document.RequireEnd();
    CheckHeader(others);
    for (std::size_t i = 0; i < FFeeds.size(); ++i) Feed(i);

    const Reader members(others, QStringLiteral("the document"));
    for (const QJsonValue value : members.List(kQueue)) {
        const Reader download(value, QStringLiteral("a member of \"queue\""));
        FQueue.push_back({download.Text(kFeed), download.Text(kUri), download.Text(kGuid)});
    }
    const QJsonObject settings = members.Object(kSettings);
    for (auto each = settings.begin(); each != settings.end(); ++each)
        if (each.value().isString()) FSettings.emplace(each.key(), each.value().toString());
    FProfileFiles = members.Object(kProfile);
}

void TPodcastLibraryDocument::CheckHeader(const QJsonObject& members) const {
    if (members[kFormatName] != kFormat)
        throw TPodcastLibraryError(
            QStringLiteral("the JSON document holds no library: its \"format\" is not \"%1\"").arg(kFormat));
    const double version = members[kVersionName].toDouble();
    if (version > kVersion)
        throw TPodcastLibraryError(
            QStringLiteral("a newer version of this program has written it (version %1 of the format, and this one "
                           "knows %2); update the program")
                .arg(version)
                .arg(kVersion));
    if (version != kVersion) throw TPodcastLibraryError(QStringLiteral("its \"version\" is not a number from 1 on"));
}

TPodcastTakenFeed TPodcastLibraryDocument::Feed(std::size_t index) const {
    const QString what = QStringLiteral("feed %1").arg(index + 1);
    TPodcastTakenFeed taken = ReadFeed(Parse(FFeeds[index], FBytes), what);
    if (taken.Feed.Fields[pffURLFeed].isEmpty()) throw TPodcastLibraryError(what + u" has no \"address\"");
    return taken;
}

// ---- Writing ----

void WriteLibraryDocument(TPodcastsDB& db, const TPodcastSettings& settings, const QJsonObject& profileFiles,
                          const std::function<void(const QByteArray& bytes)>& write) {
    // The members before and after the feeds are objects of their own, without a brace.
    const QJsonObject first{{kFormatName, kFormat}, {kVersionName, kVersion}};
    write(QJsonDocument(first).toJson(QJsonDocument::Compact).chopped(1) + ",\n\"" + kFeeds.toUtf8() + "\":[");
    const auto allOptions = db.GetFeedOptions();
    const char* separator = "\n";
    for (const int id : db.GetFeedIDs()) {
        const auto feed = db.GetFeed(id, false);
        if (!feed) continue;  // another program has removed it meanwhile
        const auto options = allOptions.find(id);
        const QJsonObject json =
            FeedToJson(db, *feed, options == allOptions.end() ? TPodcastFeedOptions() : options->second);
        write(separator + QJsonDocument(json).toJson(QJsonDocument::Compact));
        separator = ",\n";
    }
    QJsonArray queue;
    for (const QString& key : db.GetKeptQueue()) {
        const auto episode = db.GetEpisode(key);
        const auto feed = episode ? db.GetFeed(episode->FeedID, false) : nullptr;
        if (!feed) continue;
        queue += QJsonObject{
            {kFeed, feed->Fields[pffURLFeed]}, {kUri, episode->Fields[pefURI]}, {kGuid, episode->Fields[pefGUID]}};
    }
    QJsonObject values;
    for (const auto& [key, value] : settings) values.insert(key, value);
    const QJsonObject last{{kQueue, queue}, {kSettings, values}, {kProfile, profileFiles}};
    write("\n],\n" + QJsonDocument(last).toJson(QJsonDocument::Compact).sliced(1) + '\n');
}

// ---- Storing ----

namespace {

// Few enough that other programs can write in between, and many enough that the disk is not waited for too often.
constexpr qsizetype kEpisodesPerTransaction = 5000;

bool IsAddressOfFeed(const QString& address) {
    if (vexa::IsUrl(address)) return IsWholeFeedAddress(address);
    return QDir::isAbsolutePath(address) && QDir::cleanPath(address) == address &&
           address.endsWith(u".xml", Qt::CaseInsensitive);
}

/// Whether a row may record a file. The extension is looked at because files of listened episodes may be deleted: a
/// document must not be able to name the user's letters.
bool IsPresentMediaFile(const QString& file) {
    return QDir::isAbsolutePath(file) && QDir::cleanPath(file) == file &&
           vexa::IsMediaExtension(vexa::ExtractFileExt(file)) && vexa::FileExists(file);
}

}  // namespace

TPodcastJoinedLibrary JoinLibrary(TPodcastsDB& db, std::size_t count,
                                  const std::function<TPodcastTakenFeed(std::size_t index)>& feedAt,
                                  const std::function<bool()>& isCancelled) {
    TPodcastJoinedLibrary result;
    std::vector<TPodcastTakenFeed> waiting;
    qsizetype waitingEpisodes = 0;
    for (std::size_t i = 0; i < count && !result.IsCancelled; ++i) {
        TPodcastTakenFeed taken = feedAt(i);
        const QString& address = taken.Feed.Fields[pffURLFeed];
        if (!IsAddressOfFeed(address)) {
            result.Refused += address;
        } else {
            taken.FormerAddresses.removeIf([](const QString& former) { return !IsAddressOfFeed(former); });
            for (const auto& episode : taken.Feed.Episodes()) {
                QString& file = episode->Fields[pefURLAudioCached];
                if (file.isEmpty() || IsPresentMediaFile(file)) continue;
                ++result.MissingFiles;
                file.clear();
            }
            waitingEpisodes += 1 + taken.Feed.EpisodeCount();
            waiting.push_back(std::move(taken));
        }
        result.IsCancelled = isCancelled();
        if (waiting.empty() || (waitingEpisodes < kEpisodesPerTransaction && i + 1 < count)) continue;
        if (result.IsCancelled) break;
        for (const TPodcastJoined& joined : db.Join(waiting)) {
            result.NewFeeds += joined.IsNew;
            result.Feeds += joined.IsChanged();
            result.Episodes += joined.Episodes;
            result.Marks += joined.Marks;
            result.Files += joined.Files;
            result.Options += joined.Options;
        }
        waiting.clear();
        waitingEpisodes = 0;
    }
    return result;
}

qsizetype JoinKeptQueue(TPodcastsDB& db, const std::vector<TPodcastTakenDownload>& downloads) {
    const QStringList present = db.GetKeptQueue();
    QSet<QString> queued(present.begin(), present.end());
    std::vector<TPodcastQueueChange> changes;
    for (const TPodcastTakenDownload& download : downloads) {
        const QString feedURL = db.GetPresentFeedURL(download.FeedURL);
        const int feedID = feedURL.isEmpty() ? 0 : db.GetFeedID(feedURL);
        if (feedID < 1) continue;
        const QString guidKey = MakeEpisodeKey(feedID, download.GUID);
        auto episode = db.GetEpisode(download.URI);
        if (!episode || episode->FeedID != feedID) episode = db.GetEpisode(guidKey);
        if (!episode) continue;
        const QString& uri = episode->Fields[pefURI];
        if (queued.contains(uri) || queued.contains(guidKey)) continue;
        queued.insert(uri);
        changes.push_back({uri.isEmpty() ? guidKey : uri, true});
    }
    if (!changes.empty()) db.ChangeKeptQueue(changes);
    return static_cast<qsizetype>(changes.size());
}

}  // namespace podcasts
