#include "Show.h"

#include "Prose.h"
#include "Random.h"

#include <array>
#include <cstdio>

namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

constexpr std::array kCategories{Category{"Arts", "Books"},
                                 Category{"Business", "Careers"},
                                 Category{"Comedy", "Improv"},
                                 Category{"Education", "Self-Improvement"},
                                 Category{"Fiction", "Drama"},
                                 Category{"Health & Fitness", "Medicine"},
                                 Category{"History", ""},
                                 Category{"Kids & Family", "Parenting"},
                                 Category{"Music", "Music History"},
                                 Category{"News", "Politics"},
                                 Category{"Science", "Natural Sciences"},
                                 Category{"Society & Culture", "Places & Travel"},
                                 Category{"Technology", ""},
                                 Category{"TV & Film", "Film History"}};

constexpr std::array kZones{Zone{"GMT", 0h, "GMT", 0h},       Zone{"+0000", 0h, "+0000", 0h},
                            Zone{"-0500", -5h, "-0400", -4h}, Zone{"EST", -5h, "EDT", -4h},
                            Zone{"PST", -8h, "PDT", -7h},     Zone{"-0800", -8h, "-0700", -7h},
                            Zone{"+0100", 1h, "+0200", 2h},   Zone{"+0300", 3h, "+0300", 3h},
                            Zone{"+0900", 9h, "+0900", 9h},   Zone{"UT", 0h, "UT", 0h}};

constexpr std::array kAudioTypes{AudioType{"audio/mpeg", ".mp3"}, AudioType{"audio/mpeg", ".mp3"},
                                 AudioType{"audio/mpeg", ".mp3"}, AudioType{"audio/x-m4a", ".m4a"}};

constexpr std::array kDurationForms{DurationForm::Seconds, DurationForm::Clock, DurationForm::MinutesAndSeconds};
constexpr std::array kGuidForms{GuidForm::Opaque, GuidForm::Opaque, GuidForm::Page, GuidForm::Audio};
constexpr std::array<std::string_view, 5> kExplicitWords{"false", "no", "clean", "true", "yes"};
// Most shows are weekly.
constexpr std::array<seconds, 6> kSpacings{days(7), days(7), days(7), days(14), hours(84), days(1)};

/// Three shows in ten are in other languages than English.
const Language& LanguageOf(std::uint64_t number) {
    switch (number % 20) {
        case 3:
        case 13:
            return Russian();
        case 6:
        case 16:
            return Japanese();
        case 9:
            return French();
        case 19:
            return German();
        default:
            return English();
    }
}

}  // namespace

Show ShowNumber(std::uint64_t number) {
    Random random{number};
    Show show{};
    show.Number = number;
    char name[32];
    std::snprintf(name, sizeof name, "feed-%04llu", static_cast<unsigned long long>(number));
    show.Name = name;
    show.Tongue = &LanguageOf(number);
    show.Title = Words(random, *show.Tongue, static_cast<int>(random.Between(2, 4))) + " & " +
                 Words(random, *show.Tongue, 1) + ' ' + std::to_string(number);
    show.Author = random.Of(show.Tongue->Names);
    show.Subject = random.Of(kCategories);
    show.PublishedIn = random.Of(kZones);
    show.Audio = random.Of(kAudioTypes);
    show.Durations = random.Of(kDurationForms);
    show.Guids = random.Of(kGuidForms);
    show.NotesAre = random.OneIn(4) ? NotesForm::Escaped : NotesForm::CData;
    show.Explicit = random.Of(kExplicitWords);
    show.Spacing = random.Of(kSpacings);
    show.NewestAt = sys_days(2025y / March / 3) - days(random.Between(0, 13)) + hours(random.Between(4, 20)) +
                    minutes(random.Between(0, 59));
    return show;
}
