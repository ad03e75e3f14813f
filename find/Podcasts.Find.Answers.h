#pragma once
// Reads what directories of podcasts answer: JSON documents with one array of podcasts.
//
// The answers are hostile. A podcast without a usable address is left out, texts are made plain and short, and a number
// or a date that cannot be is left out.

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace podcasts {

/// Where an answer has what is wanted: names of JSON members, null for what it does not have.
struct TPodcastAnswerForm {
    const char* List;  // the member with the array; null: the document itself is the array
    const char* Address;
    const char* Title;
    const char* Author;
    const char* Description;
    std::array<const char*, 2> Pictures;  // the first that is given with https; without one, the first that is given
    const char* EpisodeCount;
    const char* Newest;  // when the newest episode appeared: ISO 8601, or seconds since 1970
    const char* IsDead;  // other than false and 0: the directory itself knows that the feed is gone
};

/// A podcast that was found. All texts are plain text on one line, but Description, which may have line breaks.
struct TPodcastFindRow {
    QString Address;  // http or https
    QString Title, Author, Description;
    QString Picture;       // http or https; empty when there is none
    int EpisodeCount = 0;  // 0: unknown
    QDateTime Newest;      // UTC; invalid: unknown

    int Rank = 0;                    // its best place in an answer, counted from 0
    std::size_t FirstDirectory = 0;  // the number of the one that was the first to name it
    std::uint32_t Directories = 0;   // which directories know it: bit N is number N of PodcastDirectories
    bool IsSubscribed = false;
};

/// The podcasts of an answer, at most `limit`, in its order. `mimeType` as in HttpResponseInfo. Throws ReasonError when
/// the answer has another form.
std::vector<TPodcastFindRow> ReadPodcastAnswer(const QByteArray& answer, const QString& mimeType,
                                               const TPodcastAnswerForm& form, int limit);

/// What two addresses of one feed have in common: the address without its scheme, "www.", a slash at its end, user name
/// and fragment.
QString FeedIdentity(const QString& address);

}  // namespace podcasts
