#pragma once
// Which directories of podcasts are asked, and how: the configuration's section "Podcasts.Find"
// (docs/configuration.md). Values; any thread.

#include "Podcasts.Core.Config.h"
#include "Podcasts.Find.Directories.h"

#include <QDateTime>
#include <QString>

#include <array>
#include <vector>

namespace podcasts {

struct TPodcastFindOptions {
    struct Directory {
        bool IsAsked = true;
        QString Base;          // where its paths begin; empty: where the table of directories says
        QDateTime RestsUntil;  // UTC; it has refused to answer and is not asked before; invalid when it has not
    };
    std::array<Directory, kPodcastDirectoryCount> Directories;
    QString Key, Secret;  // of the directory that needs them
    QString Country;      // two letters, for the store; empty: that of the user's locale

    /// Where the directory's paths begin.
    QString BaseOf(std::size_t directory) const;
    /// Two letters, always.
    QString CountryOrDefault() const;
    /// Whether the directory takes part in searches: it is asked, and has the key that it needs.
    bool TakesPart(std::size_t directory) const;
};

/// All keys that are options, in the order in which they are listed.
std::vector<TPodcastConfigKey> PodcastFindKeys();

TPodcastFindOptions ReadPodcastFindOptions(IPodcastConfig& config);
void WritePodcastFindOptions(IPodcastConfig& config, const TPodcastFindOptions& options);

}  // namespace podcasts
