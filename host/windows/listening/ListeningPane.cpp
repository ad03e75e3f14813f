#include "ListeningPane.h"

#include "RowDelegate.h"

#include <QBoxLayout>
#include <QKeyEvent>
#include <QListView>
#include <QMenu>

#include <algorithm>
#include <optional>

namespace vexa::host {

ListeningPane::ListeningPane(Host& host, Playback& playback, QWidget* parent)
    : Pane(parent),
      FPlayback(playback),
      FTexts(host.Language()),
      FModel(new ListeningModel(host, playback, this)),
      FView(new QListView) {
    FView->setObjectName(QStringLiteral("Listening"));
    FView->setModel(FModel);
    FView->setItemDelegate(new RowDelegate(FView));
    FView->setFrameShape(QFrame::NoFrame);
    FView->setUniformItemSizes(true);
    FView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    FView->setTextElideMode(Qt::ElideRight);
    FView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    FView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    FView->setDragDropMode(QAbstractItemView::DragDrop);
    FView->setDragDropOverwriteMode(false);
    FView->setDefaultDropAction(Qt::CopyAction);
    FView->setContextMenuPolicy(Qt::CustomContextMenu);
    FView->installEventFilter(this);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(FView);
    connect(FView, &QListView::doubleClicked, this, &ListeningPane::Activate);
    connect(FView, &QWidget::customContextMenuRequested, this, &ListeningPane::ShowMenu);
    connect(FModel, &ListeningModel::Moved, this, &ListeningPane::SelectRows);
    Localize();
}

void ListeningPane::Activate() {
    const auto* entry = FModel->At(FView->currentIndex());
    if (!entry) return;
    const QString address = entry->Address;
    // It plays now, so it does not come once more.
    if (entry->Section == ListeningModel::Part::UpNext) FModel->Remove({FView->currentIndex()});
    Q_EMIT Activated(address);
}

void ListeningPane::Remove() {
    FModel->Remove(FView->selectionModel()->selectedIndexes());
}

void ListeningPane::Clear() {
    const QStringList removed = FPlayback.UpNext();
    FPlayback.SetUpNext({});
    Q_EMIT Cleared(removed);
}

void ListeningPane::Move(Step step) {
    std::vector<int> places = FModel->PlacesUpNext(FView->selectionModel()->selectedIndexes());
    if (places.empty()) return;
    const int before = step == Step::ToTop ? 0 : step == Step::Up ? std::max(places.front() - 1, 0) : places.back() + 2;
    FModel->MoveUpNext(std::move(places), before);
}

void ListeningPane::SelectRows(int first, int last) {
    FView->setCurrentIndex(FModel->index(first));
    FView->selectionModel()->select({FModel->index(first), FModel->index(last)}, QItemSelectionModel::ClearAndSelect);
}

void ListeningPane::ShowMenu(const QPoint& position) {
    const auto* entry = FModel->At(FView->currentIndex());
    if (!entry) return;
    QMenu menu(this);
    menu.addAction(FTexts("Play"), this, &ListeningPane::Activate);
    if (entry->Section == ListeningModel::Part::UpNext) {
        const auto add = [&](const char* key, Step step, const QKeySequence& keys) {
            QAction* action = menu.addAction(FTexts(key), this, [this, step] { Move(step); });
            action->setShortcut(keys);
            action->setShortcutContext(Qt::WidgetShortcut);  // for display only: eventFilter handles the keys
        };
        add("ToTop", Step::ToTop, Qt::ALT | Qt::Key_Home);
        add("MoveUp", Step::Up, Qt::ALT | Qt::Key_Up);
        add("MoveDown", Step::Down, Qt::ALT | Qt::Key_Down);
    }
    menu.addAction(FTexts("ShowInLibrary"), this, [this, address = entry->Address] { Q_EMIT ShowInLibrary(address); });
    menu.addSeparator();
    menu.addAction(FTexts("RemoveFromList"), this, &ListeningPane::Remove);
    if (entry->Section == ListeningModel::Part::UpNext)
        menu.addAction(FTexts("ClearUpNext"), this, &ListeningPane::Clear);
    menu.exec(FView->viewport()->mapToGlobal(position));
}

void ListeningPane::Localize() {
    FView->setAccessibleName(FTexts("ContinueListening"));
    FModel->Localize();
}

bool ListeningPane::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return Pane::eventFilter(watched, event);
    const auto* pressed = static_cast<QKeyEvent*>(event);
    const int key = pressed->key();
    if (pressed->modifiers() & Qt::AltModifier) {
        const auto step = key == Qt::Key_Up     ? std::optional(Step::Up)
                          : key == Qt::Key_Down ? std::optional(Step::Down)
                          : key == Qt::Key_Home ? std::optional(Step::ToTop)
                                                : std::nullopt;
        if (!step) return Pane::eventFilter(watched, event);
        Move(*step);
        return true;
    }
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
