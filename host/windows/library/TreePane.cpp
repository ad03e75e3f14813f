#include "TreePane.h"

#include "RowDelegate.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QTreeView>

namespace vexa::host {

namespace {

constexpr int kRowHeight = TreeModel::kCoverSide + 6;

}  // namespace

TreePane::TreePane(const LanguageService& language, QWidget* parent)
    : Pane(parent), FTexts(language), FModel(new TreeModel(this)), FView(new QTreeView) {
    FView->setObjectName(QStringLiteral("Tree"));
    FView->setModel(FModel);
    FView->setItemDelegate(new RowDelegate(FView, kRowHeight));
    FView->header()->hide();
    FView->setUniformRowHeights(true);
    FView->setFrameShape(QFrame::NoFrame);
    FView->setIndentation(16);
    FView->setTextElideMode(Qt::ElideRight);
    FView->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    FView->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    FView->setContextMenuPolicy(Qt::CustomContextMenu);
    FView->setExpandsOnDoubleClick(true);
    auto* whole = new QVBoxLayout(this);
    whole->setContentsMargins({});
    whole->addWidget(FView);
    FReselecting.setSingleShot(true);
    FReselecting.setInterval(0);
    connect(&FReselecting, &QTimer::timeout, this, &TreePane::Reselect);
    connect(FView->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (FView->selectionModel()->hasSelection())
            Q_EMIT SelectionChanged();
        else
            FReselecting.start();
    });
    connect(FView, &QWidget::customContextMenuRequested, this,
            [this](const QPoint& position) { Q_EMIT MenuWanted(FView->viewport()->mapToGlobal(position)); });
    Localize();
}

void TreePane::SetProvider(Ref<IVEXAMLGroupingTreeDataProvider> provider, const QStringList& values) {
    FModel->SetProvider(std::move(provider));
    // Expand the last top-level node, so that a small tree is visible as a whole.
    const int count = FModel->rowCount();
    if (count > 0) FView->expand(FModel->index(count - 1, 0));
    if (values.isEmpty() || !Select(values)) FView->setCurrentIndex(FModel->index(0, 0));
}

void TreePane::Reselect() {
    if (FView->selectionModel()->hasSelection() || FModel->rowCount() == 0) return;
    const QModelIndex current = FView->currentIndex();
    FView->setCurrentIndex(current.isValid() ? current : FModel->index(0, 0));
}

TreePath TreePane::SelectedPath() const {
    const QModelIndexList selected = FView->selectionModel()->selectedIndexes();
    return selected.isEmpty() ? TreePath() : FModel->Path(selected.first());
}

QStringList TreePane::SelectedValues() const {
    QStringList values;
    for (const TreeNode& node : SelectedPath()) values += node.Value();
    return values;
}

bool TreePane::Select(const QStringList& values) {
    const QModelIndex found = FModel->Find(values);
    if (!found.isValid()) return false;
    FView->setCurrentIndex(found);
    FView->scrollTo(found);
    return true;
}

void TreePane::Localize() {
    FView->setAccessibleName(FTexts("Library"));
    FModel->Reload();
}

}  // namespace vexa::host
