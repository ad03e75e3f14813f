#pragma once
// The two records that carry every podcast through the system, the rules that name them, and the template that names a
// downloaded file. Records hold no locks: one thread uses one at a time.

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

    pffCount_,  // of the fields: no field itself
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
    pefURI,             // podcast://…, filled only when loaded from the database

    pefCount_,  // of the fields: no field itself
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
    qint64 RowID = 0;        // of its row, when it was loaded by its key
    TPodcastEpisodeState State = pesListened;
};

/// One subscription; owns its episodes.
class TPodcastFeed {
public:
    std::array<QString, kFeedFieldCount> Fields;
    int ID = 0;          // FeedID in the database; 0 for a parsed feed, positive once stored
    QString NewFeedURL;  // where a parsed document says that the feed has moved, a web address; not stored

    /// Appends an episode in state pesNew; the feed keeps it.
    TPodcastEpisode& NewEpisode();
    int EpisodeCount() const noexcept { return static_cast<int>(FEpisodes.size()); }
    TPodcastEpisode& Episodes(int index) { return *FEpisodes[static_cast<std::size_t>(index)]; }
    const TPodcastEpisode& Episodes(int index) const { return *FEpisodes[static_cast<std::size_t>(index)]; }
    const std::vector<std::unique_ptr<TPodcastEpisode>>& Episodes() const noexcept { return FEpisodes; }

    /// The first episode in list order with exactly this GUID. On false `episode` is not written.
    bool FindEpisode(const QString& guid, TPodcastEpisode*& episode) const;

private:
    std::vector<std::unique_ptr<TPodcastEpisode>> FEpisodes;
};

/// `text` with everything before its first "://" replaced by "podcast"; unchanged without one (at position 1 or later).
QString MakeURI(const QString& text);

/// The URI that an episode of a feed is stored under: "podcast" in place of the audio address's scheme. Where the
/// address contains "time" (it would differ at every refresh), StandInURI.
QString EpisodeURI(const TPodcastEpisode& episode, const TPodcastFeed& feed);
/// A URI that no audio address is needed for: made of the feed's address + "-/" + GUID.
QString StandInURI(const TPodcastEpisode& episode, const TPodcastFeed& feed);

/// The file format of an address or file name ("MP3"), as column Format and the SQL function hold it.
QString MakeFormat(const QString& addressOrFile);

/// An episode's key in its second form: U+0001, the feed's ID, U+0001, the GUID. The first form is the episode's URI.
QString MakeEpisodeKey(int feedID, const QString& guid);
inline constexpr char16_t kEpisodeKeyDelimiter = u'\u0001';

/// What a file-name template is evaluated for. Owns neither.
struct TPodcastInfoFormatStringContext {
    const TPodcastEpisode* Episode;
    const TPodcastFeed* Feed;
};

/// The engine of file-name templates: the macros %EpisodeArtist%, %EpisodeFileName%, %EpisodePublishDate%,
/// %EpisodeTitle%, %FeedCategory%, %FeedTitle%, and the function %ExtractFileExt(…)%. Any thread may use it.
class TPodcastInfoFormatString final : public vexa::FormatStringFactory {
public:
    /// The one instance of the process, made on first use.
    static const TPodcastInfoFormatString& Instance();

    /// The full file name that `templateText` gives for an episode, with the platform's delimiters. "/" and "\" of the
    /// template separate folders; values never do.
    static QString Expand(const QString& templateText, const TPodcastFeed& feed, const TPodcastEpisode& episode);

protected:
    void RegisterMacros() override;

private:
    TPodcastInfoFormatString();
};

}  // namespace podcasts
