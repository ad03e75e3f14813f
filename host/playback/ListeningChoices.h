#pragma once
// What the listener has chosen for all files, in the section Player of the settings. Main thread.

#include "Config.h"

#include <QObject>

namespace vexa::host {

class ListeningChoices final : public QObject {
    Q_OBJECT
public:
    enum Choice { ShortenSilence, LevelVoices, RewindAfterPause };

    explicit ListeningChoices(ConfigService& config) : FConfig(config) {}

    bool Has(Choice choice) const;
    void Set(Choice choice, bool isChosen);

Q_SIGNALS:
    void Changed();

private:
    ConfigService& FConfig;
};

}  // namespace vexa::host
