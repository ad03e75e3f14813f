#pragma once
// The podcasts' page of the host's options dialog. Main thread.

#include "Podcasts.Core.h"
#include "apiWrappersGUI.h"

#include <QScrollArea>

#include <functional>

class QCheckBox;
class QComboBox;
class QGroupBox;
class QLabel;
class QLineEdit;
class QMenu;
class QToolButton;

namespace podcasts {

/// The contents of the page: the client's options, which change only when Save is called. If the window is too small,
/// the page wraps its lines and scrolls. The page does nothing once the client is gone.
class TfrmPodcastsSettings : public QScrollArea {
public:
    TfrmPodcastsSettings(QWidget* parent, TPodcastClient& client);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

    void Load();
    void Localize();
    void Save();
    void Reset();

private:
    void LayOut();
    QLayout* LayOutPath();
    void ShowOptions(const TPodcastClientOptions& options);

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
    QMenu* pmMacrosLegend;
    vexa::Link<TPodcastClient> FClient;
};

/// The page, as the host's options dialog uses it.
class TVEXAPodcastsOptionsFrame : public vexa::TVEXACustomOptionsFrame {
public:
    /// `onLoad` is called before the page shows the options, `onSave` after it has saved them.
    explicit TVEXAPodcastsOptionsFrame(TPodcastClient& client, std::function<void()> onLoad = {},
                                       std::function<void()> onSave = {})
        : FClient(client.Links()), FOnLoad(std::move(onLoad)), FOnSave(std::move(onSave)) {}

    void HandleNotification(std::int32_t notification) noexcept override;

protected:
    QWidget* CreatePageForm(vexa::WindowHandle parentWindow, QWidget* parentControl) override;
    QString GetPageCaption() override;

private:
    vexa::Link<TPodcastClient> FClient;
    const std::function<void()> FOnLoad, FOnSave;
};

}  // namespace podcasts
