#pragma once
// The page of the selected node above its rows: picture, title, author, description, numbers, and buttons. Hidden for a
// node of which nothing is known. Main thread.

#include "NodeInfo.h"
#include "Pane.h"
#include "WindowTexts.h"

#include <QPixmap>
#include <QWidget>

class QLabel;
class QPushButton;
class QToolButton;

namespace vexa::host {

class ClampedLabel;

class NodePage final : public Pane<QWidget> {
    Q_OBJECT
public:
    static constexpr int kCoverSide = 96;

    explicit NodePage(const LanguageService& language, QWidget* parent = nullptr);

    void Show(const NodeInfo& info, const QString& storageID);
    void Clear() { hide(); }
    /// A square of kCoverSide pixels; null for none.
    void SetCover(const QPixmap& cover);
    /// Whether the node has options, and whether there is a command that marks rows as done.
    void SetOffered(bool hasOptions, bool canMark);
    /// How large the pane is that contains the page. In a small one it leaves out the description and shows less of the
    /// rest.
    void SetRoom(const QSize& room);
    void OnThemeChanged();

Q_SIGNALS:
    void PlayOldestWanted();
    void MarkAllWanted();
    void OptionsWanted();

private:
    void Localize() override;
    void Fill();
    void Fit();
    QToolButton* AddButton(const char* name);

    const WindowTexts FTexts;
    NodeInfo FInfo;
    QSize FRoom{0, 0};
    QString FStorageID;
    QLabel* FCover;
    ClampedLabel *FTitle, *FDescription;
    QLabel *FAuthor, *FNumbers;
    QPushButton* FPlay;
    QToolButton *FMark, *FOptions, *FWeb;
};

}  // namespace vexa::host
