#include "PlaylistPane.h"

#include "RowDelegate.h"
#include "WindowIcons.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QInputDialog>
#include <QKeyEvent>
#include <QLabel>
#include <QListView>
#include <QMenu>
#include <QScopedValueRollback>
#include <QToolButton>

#include <algorithm>

namespace vexa::host {

PlaylistPane::PlaylistPane(Host& host, QWidget* parent)
    : Pane(parent),
      FHost(host),
      FTexts(host.Language()),
      FModel(new PlaylistModel(this)),
      FLists(new QComboBox),
      FNew(new QToolButton),
      FMore(new QToolButton),
      FView(new QListView),
      FHint(new QLabel) {
    FLists->setObjectName(QStringLiteral("Playlists"));
    FLists->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    FView->setObjectName(QStringLiteral("Entries"));
    FView->setModel(FModel);
    FView->setItemDelegate(new RowDelegate(FView));
    FView->setFrameShape(QFrame::NoFrame);
    FView->setSelectionMode(QAbstractItemView::ExtendedSelection);
    FView->setDragDropMode(QAbstractItemView::DragDrop);
    FView->setDefaultDropAction(Qt::MoveAction);
    FView->setAlternatingRowColors(true);
    FView->setUniformItemSizes(true);
    FView->setTextElideMode(Qt::ElideRight);
    FView->setSpacing(0);
    FView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    FView->setContextMenuPolicy(Qt::CustomContextMenu);
    FView->installEventFilter(this);
    FHint->setObjectName(QStringLiteral("Faint"));
    FHint->setTextFormat(Qt::PlainText);
    FHint->setWordWrap(true);
    FHint->setAlignment(Qt::AlignCenter);
    FHint->setAttribute(Qt::WA_TransparentForMouseEvents);
    FNew->setAutoRaise(true);
    FNew->setFocusPolicy(Qt::StrongFocus);
    FMore->setAutoRaise(true);
    FMore->setFocusPolicy(Qt::StrongFocus);
    FMore->setText(QStringLiteral("⋯"));
    FMore->setPopupMode(QToolButton::InstantPopup);
    auto* menu = new QMenu(FMore);
    FMore->setMenu(menu);
    connect(menu, &QMenu::aboutToShow, this, [this, menu] {
        menu->clear();
        connect(menu->addAction(FTexts("RenamePlaylist")), &QAction::triggered, this, &PlaylistPane::Rename);
        connect(menu->addAction(FTexts("RemovePlaylist")), &QAction::triggered, this, &PlaylistPane::RemoveList);
        for (QAction* action : menu->actions()) action->setEnabled(FModel->List() != nullptr);
    });
    auto* row = new QHBoxLayout;
    row->setContentsMargins(8, 6, 8, 6);
    row->setSpacing(2);
    row->addWidget(FLists, 1);
    row->addWidget(FNew);
    row->addWidget(FMore);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->setSpacing(0);
    whole->addLayout(row);
    whole->addWidget(FView, 1);
    auto* over = new QVBoxLayout(FView->viewport());
    over->setContentsMargins(16, 16, 16, 16);
    over->addWidget(FHint);

    connect(FLists, &QComboBox::activated, this, [this](int place) {
        const auto& all = FHost.Playlists().All();
        if (place >= 0 && place < static_cast<int>(all.size()))
            FHost.Playlists().Activate(all[static_cast<std::size_t>(place)].Get());
    });
    connect(FNew, &QToolButton::clicked, this, [this] { Create({}); });
    connect(FModel, &PlaylistModel::NewWanted, this, &PlaylistPane::Create, Qt::QueuedConnection);
    connect(FModel, &PlaylistModel::Updated, this, &PlaylistPane::ReadSelection);
    connect(FView->selectionModel(), &QItemSelectionModel::selectionChanged, this, &PlaylistPane::WriteSelection);
    connect(FView->selectionModel(), &QItemSelectionModel::currentChanged, this, &PlaylistPane::WriteSelection);
    connect(FView, &QListView::doubleClicked, this, [this](const QModelIndex& index) {
        if (FModel->List()) Q_EMIT Activated(FModel->List()->Entries()[static_cast<std::size_t>(index.row())].File);
    });
    connect(FView, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) { Q_EMIT MenuWanted(FView->viewport()->mapToGlobal(position)); });
    FHost.Playlists().AddListener(this);
    Localize();
    OnThemeChanged();
    OnPlaylistsChanged();
}

PlaylistPane::~PlaylistPane() {
    FHost.Playlists().RemoveListener(this);
}

void PlaylistPane::OnPlaylistsChanged() {
    const QScopedValueRollback updating(FIsUpdating, true);
    FLists->clear();
    const auto active = FHost.Playlists().Active();
    for (const auto& playlist : FHost.Playlists().All()) {
        FLists->addItem(WindowIcon(playlist->IsSmart() ? QStringLiteral("smart") : QStringLiteral("playlist")),
                        playlist->Name().simplified());
        if (playlist->IsSmart())
            FLists->setItemData(FLists->count() - 1, FTexts("SmartPlaylist"), Qt::AccessibleDescriptionRole);
        if (playlist == active) FLists->setCurrentIndex(FLists->count() - 1);
    }
    FLists->setEnabled(FLists->count() > 0);
    if (FModel->List() != active.Get()) FModel->SetPlaylist(active);
    UpdateHint();
    Q_EMIT ListsChanged();
}

void PlaylistPane::OnPlaylistChanged(Playlist& playlist) {
    if (&playlist != FModel->List() || FIsUpdating) return;
    FModel->Update();
    UpdateHint();
}

void PlaylistPane::UpdateHint() {
    FHint->setVisible(FModel->rowCount() == 0);
}

void PlaylistPane::ReadSelection() {
    const QScopedValueRollback updating(FIsUpdating, true);
    const Playlist* list = FModel->List();
    if (!list) return;
    QItemSelection selection;
    for (int row = 0; row < std::min(list->Count(), FModel->rowCount()); ++row)
        if (list->Entries()[static_cast<std::size_t>(row)].IsSelected)
            selection.select(FModel->index(row), FModel->index(row));
    FView->selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
    if (const int focused = list->FocusedEntry(); focused >= 0)
        FView->selectionModel()->setCurrentIndex(FModel->index(focused), QItemSelectionModel::NoUpdate);
}

void PlaylistPane::WriteSelection() {
    if (FIsUpdating || !FModel->List()) return;
    const QScopedValueRollback updating(FIsUpdating, true);
    std::vector<int> rows;
    for (const QModelIndex& index : FView->selectionModel()->selectedIndexes()) rows.push_back(index.row());
    FModel->List()->Select(rows);
    if (FView->currentIndex().isValid()) FModel->List()->FocusEntry(FView->currentIndex().row());
}

void PlaylistPane::Add(const QStringList& files) {
    Playlist* list = FModel->List();
    if (list && !list->IsSmart())
        list->Add(files);
    else
        Create(files);
}

void PlaylistPane::Create(const QStringList& files) {
    const auto created = FHost.Playlists().Create({}, true);
    if (created && !files.isEmpty()) created->Add(files);
}

void PlaylistPane::Rename() {
    const Ref<Playlist> list(FModel->List());
    if (!list) return;
    bool isAccepted = false;
    const QString name = QInputDialog::getText(this, FTexts("Playlists"), FTexts("PlaylistName"), QLineEdit::Normal,
                                               list->Name(), &isAccepted);
    if (isAccepted && !name.trimmed().isEmpty()) list->Rename(name.trimmed());
}

void PlaylistPane::RemoveList() {
    if (const Ref<Playlist> list(FModel->List()); list) FHost.Playlists().Remove(*list);
}

void PlaylistPane::RemoveEntries() {
    const Ref<Playlist> list(FModel->List());
    if (!list || list->IsSmart()) return;
    std::vector<int> rows;
    for (const QModelIndex& index : FView->selectionModel()->selectedIndexes()) rows.push_back(index.row());
    list->Remove(rows);
}

void PlaylistPane::FillMenu(QMenu& menu) {
    const QModelIndex current = FView->currentIndex();
    QAction* play = menu.addAction(FTexts("Play"));
    play->setEnabled(current.isValid());
    connect(play, &QAction::triggered, this, [this, current] {
        if (current.isValid()) Q_EMIT FView->doubleClicked(current);
    });
    QAction* remove = menu.addAction(FTexts("RemoveEntries"));
    remove->setEnabled(FModel->List() && !FModel->List()->IsSmart() && FView->selectionModel()->hasSelection());
    connect(remove, &QAction::triggered, this, &PlaylistPane::RemoveEntries);
}

void PlaylistPane::Localize() {
    FLists->setAccessibleName(FTexts("Playlists"));
    FView->setAccessibleName(FTexts("Entries"));
    FNew->setAccessibleName(FTexts("NewPlaylist"));
    FNew->setToolTip(FTexts("NewPlaylist"));
    FMore->setAccessibleName(FTexts("Playlists"));
    FHint->setText(FTexts("NoPlaylist"));
}

void PlaylistPane::OnThemeChanged() {
    FNew->setIcon(WindowIcon(QStringLiteral("add")));
    OnPlaylistsChanged();
}

bool PlaylistPane::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress) return Pane::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Delete) {
        RemoveEntries();
        return true;
    }
    if ((key == Qt::Key_Return || key == Qt::Key_Enter) && FView->currentIndex().isValid()) {
        Q_EMIT FView->doubleClicked(FView->currentIndex());
        return true;
    }
    return Pane::eventFilter(watched, event);
}

}  // namespace vexa::host
