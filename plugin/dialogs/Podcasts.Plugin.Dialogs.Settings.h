#pragma once
// The podcasts' page of the host's options dialog. Main thread.

#include "Podcasts.Core.h"
#include "Podcasts.Find.Options.h"
#include "apiWrappersGUI.h"

#include <QScrollArea>

#include <array>
#include <functional>
#include <memory>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;

namespace podcasts {

/// The contents of the page: the client's options and those of finding, which change only when Save is called. If the
/// window is too small, the page wraps its lines and scrolls. The page does nothing once the client is gone.
class TfrmPodcastsSettings : public QScrollArea {
public:
    TfrmPodcastsSettings(QWidget* parent, TPodcastClient& client, std::shared_ptr<TPodcastFindOptions> find);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    void Load();
    void Localize();
    void Save();
    void Reset();

private:
    void LayOut();
    QLayout* LayOutPath();
    QLayout* LayOutFinding();
    void ShowOptions(const TPodcastClientOptions& options, const TPodcastFindOptions& find);

    /// Tells the host that the page has changes to apply.
    void ModifiedHandler();
    void edDownloadPathButtons0Click();
    void edDownloadPathButtons1Click();
    void pmMacrosLegendPopup();
    void pmMacrosLegendClick(const QString& macro);

    QGroupBox* GB1;
    QComboBox* cbUpdates;
    QCheckBox* CB1;
    QCheckBox* CB3;
    QGroupBox* GB2;
    QLabel* L1;
    QLineEdit* edDownloadPath;
    QToolButton* edDownloadPathButtons0;
    QToolButton* edDownloadPathButtons1;
    QCheckBox* CB2;
    QGroupBox* GB3;
    QCheckBox* CB4;
    QGroupBox* GB4;
    std::array<QCheckBox*, kPodcastDirectoryCount> cbDirectories;
    std::array<QLabel*, kPodcastDirectoryCount> lbDirectories;  // what each learns
    QLabel *L2, *L3;
    QLineEdit *edKey, *edSecret;
    QMenu* pmMacrosLegend;
    vexa::Link<TPodcastClient> FClient;
    const std::shared_ptr<TPodcastFindOptions> FFind;
};

/// The page, as the host's options dialog uses it.
class TVEXAPodcastsOptionsFrame : public vexa::TVEXACustomOptionsFrame {
public:
    /// `onLoad` is called before the page shows the options, `onSave` after it has saved them. `find`: the options of
    /// finding.
    explicit TVEXAPodcastsOptionsFrame(
        TPodcastClient& client, std::function<void()> onLoad = {}, std::function<void()> onSave = {},
        std::shared_ptr<TPodcastFindOptions> find = std::make_shared<TPodcastFindOptions>())
        : FClient(client.Links()), FOnLoad(std::move(onLoad)), FOnSave(std::move(onSave)), FFind(std::move(find)) {}

    void HandleNotification(std::int32_t notification) noexcept override;

protected:
    QWidget* CreatePageForm(vexa::WindowHandle parentWindow, QWidget* parentControl) override;
    QString GetPageCaption() override;

private:
    vexa::Link<TPodcastClient> FClient;
    const std::function<void()> FOnLoad, FOnSave;
    const std::shared_ptr<TPodcastFindOptions> FFind;
};

}  // namespace podcasts
