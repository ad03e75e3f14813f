#pragma once
// What is known of one file: cover, titles, figures and show notes. All of it is read on worker threads. Main
// thread.

#include "Host.h"
#include "LatestTask.h"
#include "Pane.h"
#include "WindowTexts.h"

#include <QImage>
#include <QTimer>
#include <QWidget>

class QLabel;

namespace vexa::host {

class ShowNotes;

class DetailsPane final : public Pane<QWidget> {
    Q_OBJECT
public:
    explicit DetailsPane(Host& host, QWidget* parent = nullptr);
    ~DetailsPane() override;

    /// Empty: none. `date` as rows have it; 0 for none. For the file that shows already, its figures are read again.
    void Show(const QString& file, double date);
    /// The storage whose rows show; empty for none. It says what the pane calls them.
    void SetStorage(const QString& storageID);
    /// Nothing of a plug-in's is asked any more until Show is called.
    void Stop();

Q_SIGNALS:
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
    void ShowCover(const QImage& cover);
    void Fill();

    Host& FHost;
    const WindowTexts FTexts;
    QLabel *FCover, *FTitle, *FContainer, *FFigures, *FNothing;
    ShowNotes* FNotes;
    QWidget* FContent;
    QTimer FPause;
    QString FStorageID;
    QString FFile;
    double FDate = 0;
    Facts FFacts;
    QString FCoverOf;  // the container whose cover shows
    LatestTask FFactReader, FCoverReader;
};

}  // namespace vexa::host
