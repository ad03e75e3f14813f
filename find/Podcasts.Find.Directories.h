#pragma once
// The directories of podcasts that can be asked. All that is known of these services, their names, addresses, requests
// and answers, is in the one table of the source: a service that moves or ends is a line there.

#include "Podcasts.Core.Config.h"
#include "Podcasts.Find.Answers.h"
#include "VEXA.Runtime.Reason.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>

#include <cstddef>
#include <span>

namespace podcasts {

struct TPodcastDirectory {
    const char* Name;     // as users know it
    const char* ID;       // its name in JSON
    const char* Address;  // where its paths begin, unless the configuration says otherwise
    /// The path of a search. {words}, {limit} and {country} are its places.
    const char* SearchPath;
    const char* PopularPath;  // the path of the most popular podcasts; null when it does not tell them
    int MaxRows;              // the greatest {limit} that it accepts
    bool NeedsKey;            // it answers only to the user's own key and secret
    const vexa::ReasonText& Learns;
    TPodcastAnswerForm Form;
    // Its keys in the configuration: whether it is asked, where, and until when it wants to be left alone.
    TPodcastConfigKey Ask, Base, Rest;
};

/// In the order in which they are shown. The numbers of directories are places in this list.
std::span<const TPodcastDirectory> PodcastDirectories();
inline constexpr std::size_t kPodcastDirectoryCount = 3;

/// The address of a request to a directory, whose paths begin at `base`. No words: the most popular podcasts.
QString PodcastRequestAddress(const TPodcastDirectory& directory, const QString& base, const QString& words, int limit,
                              const QString& country);
/// The headers by which a directory that needs a key knows the user. They are valid for some minutes around `date`.
QList<QByteArray> PodcastKeyHeaders(const QString& key, const QString& secret, const QDateTime& date);

}  // namespace podcasts
