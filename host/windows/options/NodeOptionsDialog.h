#pragma once
// The settings of one node of a storage, such as a podcast: the options that its storage gives it (IVEXAMLNodeOptions),
// and how its files are played (NodeSettings). Main thread.

#include "NodeSettings.h"
#include "WindowTexts.h"

#include <QDialog>

#include <functional>
#include <map>

class QDoubleSpinBox;
class QFormLayout;
class QSpinBox;

namespace vexa::host {

class NodeOptionsDialog final : public QDialog {
    Q_OBJECT
public:
    /// `caption` is the node's.
    NodeOptionsDialog(MusicLibraryService& library, NodeSettings& settings, const LanguageService& language,
                      const NodeName& node, const QString& caption, QWidget* parent);

    /// Whether the node has options to show.
    static bool Has(MusicLibraryService& library, const NodeName& node);

    /// Stores what was changed. When an option cannot be stored, says so, and the dialog stays open.
    void accept() override;

private:
    struct Shown {
        std::int32_t Value;                    // as the storage gave it
        std::function<std::int32_t()> Chosen;  // as the user has set it
    };

    void AddStoragesOptions(QFormLayout& form);
    void AddListening(QFormLayout& form);
    QSpinBox* NewSeconds(int value);

    MusicLibraryService& FLibrary;
    NodeSettings& FSettings;
    const WindowTexts FTexts;
    const NodeName FNode;
    std::map<QString, Shown> FOptions;  // by ID
    QDoubleSpinBox* FSpeed = nullptr;
    QSpinBox *FSkipStart = nullptr, *FSkipEnd = nullptr, *FVolume = nullptr;
};

}  // namespace vexa::host
