#include "ListeningChoices.h"

namespace vexa::host {

namespace {

struct Setting {
    const char* Key;
    bool Default;
};
/// In the order of ListeningChoices::Choice.
constexpr Setting kSettings[] = {{"ShortenSilence", false}, {"LevelVoices", false}, {"RewindAfterPause", true}};

QString KeyPath(const Setting& setting) {
    return u"Player\\" + QString::fromLatin1(setting.Key);
}

}  // namespace

bool ListeningChoices::Has(Choice choice) const {
    const Setting& setting = kSettings[choice];
    const auto stored = FConfig.Find(KeyPath(setting));
    return stored && !stored->isEmpty() ? *stored != u"0" : setting.Default;
}

void ListeningChoices::Set(Choice choice, bool isChosen) {
    VEXA_ASSERT_MAIN_THREAD();
    if (Has(choice) == isChosen) return;
    FConfig.Write(KeyPath(kSettings[choice]), isChosen ? QStringLiteral("1") : QStringLiteral("0"));
    Q_EMIT Changed();
}

}  // namespace vexa::host
