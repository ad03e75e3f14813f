#pragma once
// The dialog for a feed's address: subscribes to a feed after reading it, or changes the address of a stored feed.

#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.h"
#include "Podcasts.Plugin.Dialogs.h"

#include <memory>
#include <vector>

class QLabel;
class QLineEdit;
class QMimeData;
class QPushButton;

namespace podcasts {

/// Main thread. The owner and the client may be destroyed while the dialog is open.
class TfrmPodcastFeed : public TPodcastsCustomForm {
public:
    /// Runs the dialog until the user closes it. Throws the exceptions of storing the feed.
    static void Subscribe(vexa::WindowHandle owner, TPodcastClient& client);
    /// Runs the dialog until the user closes it. Throws the exceptions of changing the stored address.
    static void Edit(vexa::WindowHandle owner, TPodcastClient& client, const QString& feedURL);

    TfrmPodcastFeed(vexa::WindowHandle owner, TPodcastClient& client);
    /// Cancels the fetch and waits for it.
    ~TfrmPodcastFeed() override;

private:
    class FetchTask;
    struct FetchOutcome {
        TPodcastFoundFeed Found;
    };

    void SetEditedURL(const QString& feedURL);
    QString Location() const;
    void UpdateControls();
    void DownloadFeed(const QString& text);
    /// Lets the user choose one of the feeds of a page, and fetches it.
    void ChooseFeed(const std::vector<TPodcastFeedLink>& feeds);
    void FetchComplete(FetchOutcome& outcome);

    void edFeedURLChange() { UpdateControls(); }
    void btnOKClick();
    bool dtFeedURLOver(const QMimeData& dragged) const;
    void dtFeedURLDrop(const QMimeData& dragged);

    QLineEdit* edFeedURL;
    QLabel* lbDownloadHint;
    QPushButton* btnOK;
    QPushButton* btnCancel;

    QString FLastError;                   // of the last fetch
    vexa::TaskHandle FFetchTask = 0;      // 0 while no fetch runs
    QString FEditedURL;                   // empty when the dialog subscribes to a feed
    std::unique_ptr<TPodcastFeed> FFeed;  // the feed that the last fetch has read
    vexa::Link<TPodcastClient> FClient;
    vexa::LinkSource<TfrmPodcastFeed> FLinks{this};  // tells the fetch whether the dialog still exists
};

}  // namespace podcasts
