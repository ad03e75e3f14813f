#pragma once
// A look at a podcast before subscribing to it: what it says of itself, and its episodes, which can be played. A part
// of a dialog. Main thread.

#include "Podcasts.Core.Classes.h"
#include "Podcasts.Plugin.Dialogs.FeedFetch.h"

#include <QWidget>

#include <functional>
#include <memory>

class QLabel;
class QPushButton;
class QTreeView;

namespace podcasts {

/// Keys in the list of episodes: Return and Space play the current one.
class TfrmPodcastPreview : public QWidget {
public:
    explicit TfrmPodcastPreview(QWidget* parent = nullptr);
    /// Cancels what is being read, and waits for it.
    ~TfrmPodcastPreview() override;

    /// Reads the feed that `address` names, as users write it, and shows it in place of what is shown now. An empty
    /// address shows nothing.
    void Open(const QString& address);
    /// The podcast that is shown, as it was read: subscribing can store it without reading it again. Null while there
    /// is none.
    const std::shared_ptr<TPodcastFeed>& Feed() const noexcept { return FFeed; }
    /// `onRead` is called when a podcast is shown, or cannot be.
    void SetOnRead(std::function<void()> onRead) { FOnRead = std::move(onRead); }
    /// The list of episodes, for the focus.
    QWidget* Episodes() const noexcept;
    void Localize();

private:
    class EpisodeModel;

    void Show(TPodcastFoundFeed& found);
    void ShowState(const QString& text);
    void UpdateControls();
    void Play();
    void Stop();

    std::shared_ptr<TPodcastFeed> FFeed;
    std::unique_ptr<TPodcastFeedFetch> FFetch;  // null while nothing is read
    std::function<void()> FOnRead;
    EpisodeModel* FModel;
    QLabel *lbTitle, *lbAuthor, *lbDescription, *lbEpisodes, *lbState;
    QTreeView* tvEpisodes;
    QPushButton *btnPlay, *btnStop;
    QString FPlayed;  // the address that was started last
};

}  // namespace podcasts
