#pragma once
// A feed's own options. They take precedence over the general ones, or have no general counterpart.

#include <QString>

#include <cstdint>
#include <span>

namespace podcasts {

class TPodcastClientOptions;

/// What a feed says to a general option that is on or off.
enum class TPodcastFeedChoice : std::uint8_t { AsGeneral, Always, Never };

struct TPodcastFeedOptions {
    TPodcastFeedChoice AutomaticDownload = TPodcastFeedChoice::AsGeneral;
    TPodcastFeedChoice Notifications = TPodcastFeedChoice::AsGeneral;
    int KeepFiles = 0;        // the number of newest files that are kept; 0: all
    int DeleteAfterDays = 0;  // days after which the file of a listened episode is deleted; 0: never

    bool HasLimits() const noexcept { return KeepFiles > 0 || DeleteAfterDays > 0; }
    bool operator==(const TPodcastFeedOptions&) const = default;
};

/// One of these options: its name in the database and on the command line, and its values as texts.
struct TPodcastFeedOption {
    enum class Kind {
        Choice,  // "general", "always" or "never", in the order of TPodcastFeedChoice
        Number,  // from 0, which means off, to Most
    };
    const char16_t* NameChars;
    Kind Type;
    int Most;
    TPodcastFeedChoice TPodcastFeedOptions::*Choice;
    int TPodcastFeedOptions::*Number;
    bool (TPodcastClientOptions::*General)() const noexcept;  // null when there is no general option

    QString Name() const { return QString::fromUtf16(NameChars); }
    QString ValueIn(const TPodcastFeedOptions& options) const;
    /// False, with nothing changed, when `value` is none of the option's values. Letter case is ignored.
    [[nodiscard]] bool SetValue(TPodcastFeedOptions& options, const QString& value) const;
    /// The values that SetValue takes, in words: "general, always or never", "a number from 0 (off) to 999".
    QString Allowed() const;
};

/// All of them, in the order in which to show them.
std::span<const TPodcastFeedOption> PodcastFeedOptions();
/// Finds an option by its name, ignoring letter case; null when there is none.
const TPodcastFeedOption* FindPodcastFeedOption(const QString& name);

/// What holds for a feed: its own choice, or the general option's value.
bool Decides(TPodcastFeedChoice choice, bool general);

}  // namespace podcasts
