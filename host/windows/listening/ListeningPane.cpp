#include "ListeningPane.h"

#include "RowDelegate.h"

#include <QBoxLayout>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>

namespace vexa::host {

ListeningPane::ListeningPane(Host& host, Playback& playback, QWidget* parent)
    : Pane(parent), FTexts(host.Language()), FModel(new ListeningModel(host, playback, this)), FView(new QListView) {
    FView->setObjectName(QStringLiteral("Listening"));
    FView->setModel(FModel);
    FView->setItemDelegate(new RowDelegate(FView));
    FView->setFrameShape(QFrame::NoFrame);
    FView->setUniformItemSizes(true);
    FView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    FView->setTextElideMode(Qt::ElideRight);
    FView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    FView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    FView->setContextMenuPolicy(Qt::CustomContextMenu);
    FView->installEventFilter(this);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(FView);
    connect(FView, &QListView::doubleClicked, this, &ListeningPane::Activate);
    connect(FView, &QWidget::customContextMenuRequested, this, &ListeningPane::ShowMenu);
    connect(FModel, &QAbstractItemModel::modelReset, this, &ListeningPane::UpdateVisible);
    Localize();
    UpdateVisible();
}

void ListeningPane::SetWanted(bool isWanted) {
    FIsWanted = isWanted;
    UpdateVisible();
}

void ListeningPane::UpdateVisible() {
    setVisible(FIsWanted && FModel->rowCount() > 0);
}

void ListeningPane::Activate() {
    if (const auto* entry = FModel->At(FView->currentIndex())) Q_EMIT Activated(QString(entry->Address));
}

void ListeningPane::Remove() {
    FModel->Remove(FView->selectionModel()->selectedIndexes());
}

void ListeningPane::ShowMenu(const QPoint& position) {
    const auto* entry = FModel->At(FView->currentIndex());
    if (!entry) return;
    QMenu menu(this);
    menu.addAction(FTexts("Play"), this, &ListeningPane::Activate);
    menu.addAction(FTexts("ShowInLibrary"), this, [this, address = entry->Address] { Q_EMIT ShowInLibrary(address); });
    menu.addAction(FTexts("RemoveFromList"), this, &ListeningPane::Remove);
    menu.exec(FView->viewport()->mapToGlobal(position));
}

void ListeningPane::Localize() {
    FView->setAccessibleName(FTexts("ContinueListening"));
    FModel->Localize();
}

bool ListeningPane::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return Pane::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Delete) {
        Remove();
        return true;
    }
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
        Activate();
        return true;
    }
    return Pane::eventFilter(watched, event);
}

}  // namespace vexa::host
