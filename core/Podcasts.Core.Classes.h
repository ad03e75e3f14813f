#pragma once
// The two records that represent podcasts throughout the system, their identifiers, and the template that names
// downloaded files. Records have no locks: one thread uses a record at a time.

#include "VEXA.Runtime.FormatString.h"

#include <QString>

#include <array>
#include <memory>
#include <vector>

namespace podcasts {

/// Index of a feed's text fields.
enum TPodcastFeedField {
    pffAuthor,
    pffCategory,
    pffCopyright,
    pffDescription,
    pffKeywords,  // not stored
    pffLanguage,
    pffTitle,
    pffURL,      // of the podcast's web page
    pffURLFeed,  // of the feed document: the feed's identity
    pffURLLogo,

    pffCount_,  // the number of fields, not a field itself
};
inline constexpr int kFeedFieldCount = pffCount_;

/// Index of an episode's text fields.
enum TPodcastEpisodeField {
    pefArtist,
    pefDescription,
    pefGUID,  // identifies the episode within its feed
    pefTitle,
    pefURL,             // of the episode's web page
    pefURLAudio,        // of the audio file
    pefURLAudioCached,  // full local file name of the downloaded copy; empty when there is none
    pefURI,             // podcast://…; set only in episodes loaded from the database

    pefCount_,  // the number of fields, not a field itself
};
inline constexpr int kEpisodeFieldCount = pefCount_;

/// An episode's listening state; the numbers are stored.
enum TPodcastEpisodeState : std::uint8_t {
    pesListened = 0,
    pesNew = 1,
    pesPostponed = 2,
};

class TPodcastEpisode {
public:
    std::array<QString, kEpisodeFieldCount> Fields;
    float Duration = 0;      // seconds; 0 when unknown
    int FeedID = 0;          // 0 until stored or loaded
    double PublishDate = 0;  // OLE Automation date in UTC; 0 when unknown
    qint64 RowID = 0;        // set only when the episode was loaded by its key
    TPodcastEpisodeState State = pesListened;
};

/// One subscription; owns its episodes.
class TPodcastFeed {
public:
    std::array<QString, kFeedFieldCount> Fields;
    int ID = 0;          // FeedID in the database; 0 for a parsed feed, positive once stored
    QString NewFeedURL;  // the web address to which a parsed document says that the feed has moved; not stored

    /// Appends an episode in state pesNew, owned by the feed.
    TPodcastEpisode& NewEpisode();
    int EpisodeCount() const noexcept { return static_cast<int>(FEpisodes.size()); }
    TPodcastEpisode& Episodes(int index) { return *FEpisodes[static_cast<std::size_t>(index)]; }
    const TPodcastEpisode& Episodes(int index) const { return *FEpisodes[static_cast<std::size_t>(index)]; }
    const std::vector<std::unique_ptr<TPodcastEpisode>>& Episodes() const noexcept { return FEpisodes; }

    /// Finds the first episode in list order with exactly this GUID. On false `episode` is left unchanged.
    bool FindEpisode(const QString& guid, TPodcastEpisode*& episode) const;

private:
    std::vector<std::unique_ptr<TPodcastEpisode>> FEpisodes;
};

/// `text` with everything before its first "://" replaced by "podcast"; unchanged if there is none at position 1 or
/// later.
QString MakeURI(const QString& text);

/// The URI under which an episode of a feed is stored: its audio address with "podcast" as the scheme; or StandInURI if
/// that address contains "time", since it would then differ at every refresh.
QString EpisodeURI(const TPodcastEpisode& episode, const TPodcastFeed& feed);
/// A URI that needs no audio address: made from the feed's address + "-/" + GUID.
QString StandInURI(const TPodcastEpisode& episode, const TPodcastFeed& feed);

/// The file format of an address or file name ("MP3"), as stored in the column Format and returned by the SQL function.
QString MakeFormat(const QString& addressOrFile);

/// An episode's key in its second form: U+0001, the feed's ID, U+0001, the GUID. The first form is the episode's URI.
QString MakeEpisodeKey(int feedID, const QString& guid);
inline constexpr char16_t kEpisodeKeyDelimiter = u'\u0001';

/// The episode and feed for which a file-name template is evaluated. Owns neither.
struct TPodcastInfoFormatStringContext {
    const TPodcastEpisode* Episode;
    const TPodcastFeed* Feed;
};

/// The engine of file-name templates: the macros %EpisodeArtist%, %EpisodeFileName%, %EpisodePublishDate%,
/// %EpisodeTitle%, %FeedCategory%, %FeedTitle%, and the function %ExtractFileExt(…)%. Any thread may use it.
class TPodcastInfoFormatString final : public vexa::FormatStringFactory {
public:
    /// The only instance in the process, created on first use.
    static const TPodcastInfoFormatString& Instance();

    /// The full file name for an episode according to `templateText`, with the platform's delimiters. "/" and "\" in
    /// the template separate folders; in the values of macros they never do.
    static QString Expand(const QString& templateText, const TPodcastFeed& feed, const TPodcastEpisode& episode);

protected:
    void RegisterMacros() override;

private:
    TPodcastInfoFormatString();
};

}  // namespace podcasts
