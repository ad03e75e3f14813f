#pragma once
// The window that finds podcasts by words, shows what they are, and subscribes to them. It works with the storage's
// interfaces for finding and subscribing, like a host.
//
// The keyboard alone is enough: a search begins 0.4 s after the last key, or with Return; the arrows lead from the
// field into the list and back; in the list Return subscribes to what is selected, and Space shows the episodes; Escape
// goes back to the list, and then closes the window.

#include "Podcasts.Plugin.Dialogs.Find.Model.h"
#include "Podcasts.Plugin.Dialogs.Find.Pictures.h"
#include "Podcasts.Plugin.Dialogs.h"
#include "apiWrappers.h"

#include <QString>
#include <QStringList>
#include <QTimer>

#include <cstdint>

class QLabel;
class QLineEdit;
class QListView;
class QPushButton;
class QSplitter;
class QStackedWidget;

namespace podcasts {

class TfrmPodcastPreview;

/// Not modal, so that what plays in a preview can be controlled in the host's window. Destroys itself when it is
/// closed. Main thread.
class TfrmPodcastFind : public TPodcastsCustomForm {
public:
    /// `storage` offers IVEXAMLFinder and IVEXAMLSubscriptionStorage.
    TfrmPodcastFind(vexa::WindowHandle owner, vexa::Ref<vexa::IUnknown> storage);
    ~TfrmPodcastFind() override;

    /// Shows the window, in front. Searches for `text` unless it is empty.
    void Open(const QString& text);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    class FinderEvents;
    class SubscribingEvents;

    void LayOut();
    void Localize();
    /// What a search asks and what these places learn, before there is anything else to show.
    void ShowSources();
    void ShowPlace(const QString& text);
    void ShowStatus(const QString& text);
    void UpdateControls();

    void edWordsEdited();
    /// Empty words: the most popular.
    void Search(const QString& words);
    void CancelSearch();
    void Found(vexa::IVEXAMLFound* found);
    void SourceDone(const QString& source, const QString& error);
    void Completed();
    void ShowResult();

    bool HandleKey(QObject* watched, int key);
    void FocusList();
    QStringList SelectedAddresses() const;
    void btnSubscribeClick();
    void Subscribed(const QStringList& titles, const QStringList& failures);
    /// Shows the current podcast's episodes; the next time the focus goes to them.
    void btnPreviewClick();
    void Preview();

    const vexa::Ref<vexa::IUnknown> FStorage;
    QLineEdit* edWords;
    QPushButton *btnPopular, *btnPreview, *btnSubscribe, *btnClose;
    QStackedWidget* FPages;  // what is said in place of a list, and the list
    QLabel *lbPlace, *lbStatus;
    QListView* lvFound;
    QSplitter* FSplitter;
    TfrmPodcastPreview* FPreview;
    TPodcastFindModel FModel;
    TPodcastFindPictures FPictures;
    QTimer FTyping, FMoving;

    std::int64_t FSearch = 0;           // 0 while none runs
    QString FWords;                     // of the last search
    bool FIsOld = false;                // the rows are those of the search before
    QStringList FFailures;              // of the last search, "directory: reason"
    QHash<QString, QString> FCaptions;  // of the sources, by their IDs
    QString FPreviewed;                 // the address
    int FSubscribing = 0;               // requests that have not ended
    QString FNews;                      // what became of the last subscriptions
    vexa::LinkSource<TfrmPodcastFind> FLinks{this};
};

}  // namespace podcasts
