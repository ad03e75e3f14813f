#pragma once
// The details of one file: titles, figures and show notes, all read on worker threads, below its container's cover.
// Main thread.

#include "CoverSource.h"
#include "Host.h"
#include "LatestTask.h"
#include "ListRowDelegate.h"
#include "Pane.h"
#include "WindowTexts.h"

#include <QTimer>
#include <QWidget>

#include <array>
#include <utility>

class QLabel;
class QToolButton;

namespace vexa::host {

class ClampedLabel;
class ShowNotes;

class DetailsPane final : public Pane<QWidget> {
    Q_OBJECT
public:
    explicit DetailsPane(Host& host, QWidget* parent = nullptr);
    ~DetailsPane() override;

    /// Shows a file; an empty name shows none. `date` is as in rows; 0 for none. For the file shown already, reads its
    /// details again.
    void Show(const QString& file, double date);
    void SetCoverSource(CoverSource source) { FCoverSource = std::move(source); }
    /// Asks for the cover again; called when the source may return another one.
    void ShowCover();
    /// Which commands there are for the file besides playing it; fetching is not shown while there is a local copy.
    void SetButtons(bool canFetch, bool canMarkDone);
    void OnThemeChanged();
    /// The storage whose rows are shown, whose texts the pane uses; empty for none.
    void SetStorage(const QString& storageID);
    /// Stops asking plug-ins until the next Show.
    void Stop();

Q_SIGNALS:
    void PlayWanted(const QString& file);
    /// Any button but Play.
    void ButtonClicked(RowButton button, const QString& file);
    void SeekWanted(const QString& file, double seconds);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Localize() override;
    struct Facts {
        QString Title, Container, Notes;
        double Duration = 0;
        qint64 LocalSize = -1;  // −1: there is no local copy
        bool operator==(const Facts&) const = default;
    };
    static Facts ReadFacts(FileInfoService& infos, const PlayerService& player, const QString& file);

    void Read();
    void ShowFacts(const Facts& facts);
    void Fill();

    Host& FHost;
    const WindowTexts FTexts;
    QLabel* FCover;
    ClampedLabel* FTitle;
    QLabel *FContainer, *FFigures, *FNothing;
    std::array<QToolButton*, 4> FButtons;  // by RowButton
    bool FCanFetch = false;
    ShowNotes* FNotes;
    QWidget* FContent;
    QTimer FDelay;
    QString FStorageID;
    QString FFile;
    double FDate = 0;
    Facts FFacts;
    CoverSource FCoverSource;
    LatestTask FFactReader;
};

}  // namespace vexa::host
