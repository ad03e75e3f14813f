#include "Podcasts.Core.FeedOptions.h"

#include "Podcasts.Core.Options.h"

#include <array>

namespace podcasts {

namespace {

using Kind = TPodcastFeedOption::Kind;

constexpr int kMostFiles = 999, kMostDays = 999;

// The first two have the names of the general options.
constexpr std::array<TPodcastFeedOption, 4> kFeedOptions = {{
    {u"DownloadNewEpisodesAutomatically", Kind::Choice, 2, &TPodcastFeedOptions::AutomaticDownload, nullptr,
     &TPodcastClientOptions::DownloadNewEpisodesAutomatically},
    {u"KeepFiles", Kind::Number, kMostFiles, nullptr, &TPodcastFeedOptions::KeepFiles, nullptr},
    {u"DeleteListenedAfterDays", Kind::Number, kMostDays, nullptr, &TPodcastFeedOptions::DeleteAfterDays, nullptr},
    {u"ShowNotifications", Kind::Choice, 2, &TPodcastFeedOptions::Notifications, nullptr,
     &TPodcastClientOptions::ShowNotifications},
}};

constexpr std::array kChoices = {u"general", u"always", u"never"};

}  // namespace

QString TPodcastFeedOption::ValueIn(const TPodcastFeedOptions& options) const {
    if (Type == Kind::Number) return QString::number(options.*Number);
    return QString::fromUtf16(kChoices[static_cast<std::size_t>(options.*Choice)]);
}

bool TPodcastFeedOption::SetValue(TPodcastFeedOptions& options, const QString& value) const {
    if (Type == Kind::Number) {
        bool isNumber = false;
        const int number = value.toInt(&isNumber);
        if (!isNumber || number < 0 || number > Most) return false;
        options.*Number = number;
        return true;
    }
    for (std::size_t i = 0; i < kChoices.size(); ++i) {
        if (value.compare(QStringView(kChoices[i]), Qt::CaseInsensitive) != 0) continue;
        options.*Choice = static_cast<TPodcastFeedChoice>(i);
        return true;
    }
    return false;
}

QString TPodcastFeedOption::Allowed() const {
    return Type == Kind::Number ? QStringLiteral("a number from 0 (off) to %1").arg(Most)
                                : QStringLiteral("general, always or never");
}

std::span<const TPodcastFeedOption> PodcastFeedOptions() {
    return kFeedOptions;
}

const TPodcastFeedOption* FindPodcastFeedOption(const QString& name) {
    for (const TPodcastFeedOption& option : kFeedOptions)
        if (option.Name().compare(name, Qt::CaseInsensitive) == 0) return &option;
    return nullptr;
}

bool Decides(TPodcastFeedChoice choice, bool general) {
    return choice == TPodcastFeedChoice::AsGeneral ? general : choice == TPodcastFeedChoice::Always;
}

}  // namespace podcasts
