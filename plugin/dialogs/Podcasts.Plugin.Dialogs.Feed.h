#pragma once
// The dialog for a feed's address: subscribes to a feed that could be read, or changes the address of a stored one.

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

/// Main thread. The owner may be destroyed, and the client too, while a dialog is open.
class TfrmPodcastFeed : public TPodcastsCustomForm {
public:
    /// Waits for the user. Throws what storing the feed throws.
    static void Subscribe(vexa::WindowHandle owner, TPodcastClient& client);
    /// Waits for the user. Throws what changing the stored address throws.
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
    /// Lets the user choose among the feeds of a page, and fetches that one.
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
    vexa::TaskHandle FFetchTask = 0;      // 0: none runs
    QString FEditedURL;                   // empty: the dialog subscribes
    std::unique_ptr<TPodcastFeed> FFeed;  // what the last fetch brought
    vexa::Link<TPodcastClient> FClient;
    vexa::LinkSource<TfrmPodcastFeed> FLinks{this};  // for the fetch, to find the dialog or that it is gone
};

}  // namespace podcasts
