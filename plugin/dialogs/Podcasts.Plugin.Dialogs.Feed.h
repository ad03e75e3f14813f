#pragma once
// The dialog for a feed's address: subscribes to a feed after reading it, or changes the address of a stored feed.

#include "Podcasts.Core.Locating.h"
#include "Podcasts.Core.h"
#include "Podcasts.Plugin.Dialogs.FeedFetch.h"
#include "Podcasts.Plugin.Dialogs.h"

#include <functional>
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
    /// What the link to a search by name does after it has closed the dialog: `text` is what the user has entered,
    /// unless that is an address. Without a hook there is no link.
    using TSearchHook = std::function<void(vexa::WindowHandle owner, const QString& text)>;
    static void SetSearchHook(TSearchHook hook);
    /// Runs the dialog until the user closes it. Throws the exceptions of changing the stored address.
    static void Edit(vexa::WindowHandle owner, TPodcastClient& client, const QString& feedURL);

    TfrmPodcastFeed(vexa::WindowHandle owner, TPodcastClient& client);
    /// Cancels the fetch and waits for it.
    ~TfrmPodcastFeed() override;

private:
    static TSearchHook& SearchHook();
    void SetEditedURL(const QString& feedURL);
    QString Location() const;
    void UpdateControls();
    void DownloadFeed(const QString& text);
    /// Lets the user choose one of the feeds of a page, and fetches it.
    void ChooseFeed(const std::vector<TPodcastFeedLink>& feeds);
    void FetchComplete(TPodcastFoundFeed& found);

    void edFeedURLChange() { UpdateControls(); }
    void btnOKClick();
    bool dtFeedURLOver(const QMimeData& dragged) const;
    void dtFeedURLDrop(const QMimeData& dragged);

    QLineEdit* edFeedURL;
    QLabel* lbDownloadHint;
    QPushButton* btnOK;
    QPushButton* btnCancel;
    QPushButton* btnSearch;  // looks like a link

    QString FLastError;  // of the last fetch
    bool FIsSearchWanted = false;
    QString FEditedURL;                   // empty when the dialog subscribes to a feed
    std::unique_ptr<TPodcastFeed> FFeed;  // the feed that the last fetch has read
    vexa::Link<TPodcastClient> FClient;
    vexa::LinkSource<TfrmPodcastFeed> FLinks{this};
    std::unique_ptr<TPodcastFeedFetch> FFetch;  // null while no fetch runs
};

}  // namespace podcasts
