#include "CoverGrid.h"

#include "Covers.h"

#include <QCollator>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QStyledItemDelegate>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kPadding = 8, kBadge = 20;
constexpr QRgb kBadgeColour = 0xff1f5fc4;  // white on it has a contrast of 5.9

enum TileRole { kUntouchedRole = Qt::UserRole + 1 };

}  // namespace

class SourcesModel final : public QAbstractListModel {
public:
    using QAbstractListModel::QAbstractListModel;

    void SetCovers(Covers* covers) noexcept { FCovers = covers; }
    void Set(std::vector<TreeNode> sources) {
        FSources = std::move(sources);
        Arrange();
    }
    void SetInfos(QHash<QString, NodeInfo> infos) {
        FInfos = std::move(infos);
        Arrange();
    }
    void SetOrder(CoverGrid::Order order) {
        FOrder = order;
        Arrange();
    }
    CoverGrid::Order Order() const noexcept { return FOrder; }
    const std::vector<TreeNode>& Sources() const noexcept { return FSources; }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(FShown.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        const TreeNode& node = FShown[static_cast<std::size_t>(index.row())];
        switch (role) {
            case Qt::DisplayRole:
                return node.Caption.simplified();
            case Qt::ToolTipRole:
                return QString(u"<span>" + node.Caption.toHtmlEscaped() + u"</span>");
            case Qt::UserRole:
                return node.Value();
            case Qt::DecorationRole:
                return FCovers ? FCovers->Get(node.Pair.Field, node.Value(), node.Caption, CoverGrid::kCoverSide,
                                              qGuiApp->devicePixelRatio())
                               : QPixmap();
            case kUntouchedRole:
            case Qt::AccessibleDescriptionRole:
                return QVariant::fromValue(FInfos.value(node.Value()).Untouched);
            default:
                return {};
        }
    }

private:
    /// Sorts the sources; a view keeps its current one, and its place.
    void Arrange() {
        std::vector<std::pair<QCollatorSortKey, std::size_t>> names;
        QCollator collator;
        collator.setNumericMode(true);
        for (std::size_t i = 0; i < FSources.size(); ++i) names.emplace_back(collator.sortKey(FSources[i].Caption), i);
        const auto rank = [&](std::size_t i) {
            const NodeInfo info = FInfos.value(FSources[i].Value());
            return FOrder == CoverGrid::Order::Newest      ? info.Newest
                   : FOrder == CoverGrid::Order::Untouched ? static_cast<double>(info.Untouched)
                                                           : 0.0;
        };
        std::vector<double> ranks(FSources.size());
        for (std::size_t i = 0; i < ranks.size(); ++i) ranks[i] = rank(i);
        std::stable_sort(names.begin(), names.end(), [&](const auto& one, const auto& other) {
            const double a = ranks[one.second], b = ranks[other.second];
            return a != b ? a > b : one.first < other.first;
        });
        std::vector<TreeNode> shown;
        for (const auto& [key, place] : names) shown.push_back(FSources[place]);
        QHash<QString, int> places;
        for (int row = 0; row < static_cast<int>(shown.size()); ++row)
            places.insert(shown[static_cast<std::size_t>(row)].Value(), row);
        const bool areSame = shown.size() == FShown.size() &&
                             std::all_of(FShown.begin(), FShown.end(),
                                         [&](const TreeNode& node) { return places.contains(node.Value()); });
        if (!areSame) {
            beginResetModel();
            FShown = std::move(shown);
            endResetModel();
            return;
        }
        Q_EMIT layoutAboutToBeChanged();
        QModelIndexList to;
        const QModelIndexList from = persistentIndexList();
        for (const QModelIndex& old : from) {
            const int row = places.value(FShown[static_cast<std::size_t>(old.row())].Value(), -1);
            to += row < 0 ? QModelIndex() : createIndex(row, 0);
        }
        FShown = std::move(shown);
        changePersistentIndexList(from, to);
        Q_EMIT layoutChanged();
    }

    Covers* FCovers = nullptr;
    std::vector<TreeNode> FSources, FShown;  // as given; in the order shown
    QHash<QString, NodeInfo> FInfos;
    CoverGrid::Order FOrder = CoverGrid::Order::Newest;
};

namespace {

class TileDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const override {
        return {CoverGrid::kCoverSide + 2 * kPadding,
                CoverGrid::kCoverSide + 3 * kPadding + option.fontMetrics.height()};
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        const bool isCurrent = option.state & (QStyle::State_Selected | QStyle::State_MouseOver);
        if (isCurrent) {
            painter->setPen(Qt::NoPen);
            painter->setBrush(option.palette.color(option.state & QStyle::State_Selected ? QPalette::Highlight
                                                                                         : QPalette::AlternateBase));
            painter->drawRoundedRect(option.rect.adjusted(1, 1, -1, -1), 8, 8);
        }
        const QRect cover(option.rect.left() + (option.rect.width() - CoverGrid::kCoverSide) / 2,
                          option.rect.top() + kPadding, CoverGrid::kCoverSide, CoverGrid::kCoverSide);
        painter->drawPixmap(cover, index.data(Qt::DecorationRole).value<QPixmap>());
        if (const auto untouched = index.data(kUntouchedRole).toLongLong(); untouched > 0) {
            const QString text = QLocale().toString(untouched);
            QFont bold = option.font;
            bold.setWeight(QFont::DemiBold);
            const int width = std::max(kBadge, QFontMetrics(bold).horizontalAdvance(text) + 12);
            const QRect badge(cover.right() - width - 5, cover.top() + 6, width, kBadge);
            painter->setPen(Qt::NoPen);
            painter->setBrush(QColor(kBadgeColour));
            painter->drawRoundedRect(badge, kBadge / 2.0, kBadge / 2.0);
            painter->setPen(Qt::white);
            painter->setFont(bold);
            painter->drawText(badge, Qt::AlignCenter, text);
        }
        painter->setFont(option.font);
        painter->setPen(option.palette.color(QPalette::Text));
        const QRect title(cover.left(), cover.bottom() + kPadding, cover.width(), option.fontMetrics.height());
        painter->drawText(title, Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine,
                          option.fontMetrics.elidedText(index.data().toString(), Qt::ElideRight, title.width()));
        painter->restore();
    }
};

}  // namespace

CoverGrid::CoverGrid(QWidget* parent) : QListView(parent), FModel(new SourcesModel(this)) {
    setObjectName(QStringLiteral("CoverGrid"));
    setModel(FModel);
    setItemDelegate(new TileDelegate(this));
    setViewMode(QListView::IconMode);
    setResizeMode(QListView::Adjust);
    setMovement(QListView::Static);
    setUniformItemSizes(true);
    setSpacing(4);
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    connect(this, &QListView::clicked, this,
            [this](const QModelIndex& index) { Q_EMIT SourceChosen(index.data(Qt::UserRole).toString()); });
}

void CoverGrid::SetCovers(Covers* covers) {
    FModel->SetCovers(covers);
}

void CoverGrid::SetSources(std::vector<TreeNode> sources) {
    FModel->Set(std::move(sources));
}

void CoverGrid::SetInfos(QHash<QString, NodeInfo> infos) {
    FModel->SetInfos(std::move(infos));
}

const std::vector<TreeNode>& CoverGrid::Sources() const noexcept {
    return FModel->Sources();
}

CoverGrid::Order CoverGrid::SortOrder() const noexcept {
    return FModel->Order();
}

void CoverGrid::SetOrder(Order order) {
    FModel->SetOrder(order);
}

void CoverGrid::keyPressEvent(QKeyEvent* event) {
    if ((event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) && currentIndex().isValid())
        Q_EMIT SourceChosen(currentIndex().data(Qt::UserRole).toString());
    else
        QListView::keyPressEvent(event);
}

}  // namespace vexa::host
