#pragma once
// The texts of the library's reasons (see VEXA.Runtime.Reason.h), and the lines that say what a directory learns. Each
// of them is in every language file, under the same key and with the same places; in English.lng with the same words.

#include "VEXA.Runtime.Reason.h"

namespace podcasts {

inline constexpr vexa::ReasonText kFindReasons[] = {
    {"Podcasts.Reasons\\FindPage", "the answer is a web page, not a list of podcasts"},
    {"Podcasts.Reasons\\FindNoList", "the answer is not a list of podcasts"},
    // %1 is what the server answered, %2 a time of day.
    {"Podcasts.Reasons\\FindRefused", "%1; it is not asked again before %2"},
    {"Podcasts.Reasons\\FindResting", "it has refused to answer, and is not asked again before %1"},
    {"Podcasts.Reasons\\FindNobody", "no directory of podcasts is asked; choose one in the options"},
    {"Podcasts.Reasons\\FindNoPopular", "no directory that is asked tells what is popular; give a word to search for"},

    // What the directories learn
    {"Podcasts.Reasons\\LearnsStore", "learns your words, your country and your IP address"},
    {"Podcasts.Reasons\\LearnsGpodder", "learns your words and your IP address"},
    {"Podcasts.Reasons\\LearnsPodcastIndex", "learns your words, your IP address and, by your key, who you are"},
};

consteval const vexa::ReasonText& FindReasonText(std::string_view name) {
    return vexa::FindReason(kFindReasons, name);
}

}  // namespace podcasts
