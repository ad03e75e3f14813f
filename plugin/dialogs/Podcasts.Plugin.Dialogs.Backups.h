#pragma once
// The page of the host's options dialog that lists the backups, makes one, and restores one at the player's next start.
// Main thread.

#include "Podcasts.Core.Backups.h"
#include "Podcasts.Core.h"
#include "apiWrappersGUI.h"

#include <functional>

class QLabel;
class QPushButton;
class QSpinBox;
class QTreeWidget;

namespace podcasts {

/// Asks the user whether to go on although no backup could be made. Without windows the answer is no. Any thread.
bool AskToGoOnWithoutBackup(const vexa::Reason& why);

/// What the page needs of the plug-in.
struct TPodcastsBackupsWork {
    /// Runs it on a worker, after everything that was given earlier; shows its errors.
    std::function<void(std::function<void(TPodcastClient&)> work)> Run;
    /// Is called after the page has changed the options.
    std::function<void()> OnSave = {};
};

class TfrmPodcastsBackups : public QWidget {
public:
    TfrmPodcastsBackups(QWidget* parent, TPodcastClient& client, TPodcastsBackupsWork work);

    void Load();
    void Localize();
    void Save();
    void Reset();

private:
    void Show(std::vector<TPodcastBackup> backups, bool isPending);
    void ShowButtons();
    void BackUp();
    void Restore();
    void DoNotRestore();

    vexa::Link<TPodcastClient> FClient;
    const TPodcastsBackupsWork FWork;
    QLabel* FState;
    QTreeWidget* FList;
    QPushButton* FBackUp;
    QPushButton* FRestore;
    QPushButton* FDoNotRestore;
    QLabel* FLimitCaption;
    QSpinBox* FLimit;
    std::vector<TPodcastBackup> FBackups;
    bool FIsRead = false, FIsPending = false, FIsWorking = false;
    vexa::Reason FProblem;
    vexa::LinkSource<TfrmPodcastsBackups> FLinks{this};
};

/// The page, as the host's options dialog uses it.
class TVEXAPodcastsBackupsFrame : public vexa::TVEXACustomOptionsFrame {
public:
    TVEXAPodcastsBackupsFrame(TPodcastClient& client, TPodcastsBackupsWork work)
        : FClient(client.Links()), FWork(std::move(work)) {}

    void HandleNotification(std::int32_t notification) noexcept override;

protected:
    QWidget* CreatePageForm(vexa::WindowHandle parentWindow, QWidget* parentControl) override;
    QString GetPageCaption() override;

private:
    vexa::Link<TPodcastClient> FClient;
    const TPodcastsBackupsWork FWork;
};

}  // namespace podcasts
