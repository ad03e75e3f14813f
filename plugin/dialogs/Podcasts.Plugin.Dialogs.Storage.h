#pragma once
// The page of the host's options dialog that shows what downloaded files take, by podcast, and deletes those that were
// heard. Main thread.

#include "Podcasts.Core.DiskUsage.h"
#include "Podcasts.Core.h"
#include "apiWrappersGUI.h"

#include <functional>

class QLabel;
class QPushButton;
class QTreeWidget;

namespace podcasts {

/// How the page has work done that is not for the main thread.
struct TPodcastsStorageWork {
    /// Runs it on a worker, after everything that was given earlier.
    std::function<void(std::function<void(TPodcastClient&)> work)> Run;
    /// Deletes the episodes' files as the user's command does. On a worker.
    std::function<void(TPodcastClient& client, const QStringList& episodeKeys)> Delete;
};

class TfrmPodcastsStorage : public QWidget {
public:
    TfrmPodcastsStorage(QWidget* parent, TPodcastsStorageWork work);

    /// Reads the figures in the background.
    void Load();
    void Localize();

private:
    void Show(std::vector<TPodcastDiskUsage> usage);
    void ShowButton();
    void DeleteHeard();
    /// The feeds selected in the list; all while none is selected.
    std::vector<const TPodcastDiskUsage*> Chosen() const;

    const TPodcastsStorageWork FWork;
    QLabel* FTotal;
    QTreeWidget* FFeeds;
    QPushButton* FDelete;
    std::vector<TPodcastDiskUsage> FUsage;
    bool FIsRead = false;
    vexa::LinkSource<TfrmPodcastsStorage> FLinks{this};
};

/// The page, as the host's options dialog uses it.
class TVEXAPodcastsStorageFrame : public vexa::TVEXACustomOptionsFrame {
public:
    explicit TVEXAPodcastsStorageFrame(TPodcastsStorageWork work) : FWork(std::move(work)) {}

    void HandleNotification(std::int32_t notification) noexcept override;

protected:
    QWidget* CreatePageForm(vexa::WindowHandle parentWindow, QWidget* parentControl) override;
    QString GetPageCaption() override;

private:
    const TPodcastsStorageWork FWork;
};

}  // namespace podcasts
