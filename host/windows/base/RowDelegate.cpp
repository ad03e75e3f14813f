#include "RowDelegate.h"

#include "WindowTheme.h"

#include <QApplication>
#include <QPainter>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kMargin = 8, kLine = 2;

}  // namespace

QSize RowDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QSize size = QStyledItemDelegate::sizeHint(option, index);
    return {size.width(), std::max(size.height(), FHeight)};
}

void RowDelegate::initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const {
    QStyledItemDelegate::initStyleOption(option, index);
    // Only a focused row that is not selected needs the focus frame to be seen.
    if (option->state & QStyle::State_Selected) option->state &= ~QStyle::State_HasFocus;
    // A picture keeps its colours when the row is selected; the style would tint it.
    if (const QVariant picture = index.data(Qt::DecorationRole); picture.typeId() == QMetaType::QPixmap)
        option->icon.addPixmap(picture.value<QPixmap>(), QIcon::Selected);
}

void RowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    const QVariant progress = index.data(kProgressRole);
    if (!progress.isValid()) return QStyledItemDelegate::paint(painter, option, index);
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    const QStyle* style = row.widget ? row.widget->style() : QApplication::style();
    const bool isSelected = row.state & QStyle::State_Selected;
    QString left = index.data(kTimeLeftRole).toString();
    const auto fits = [&] { return row.fontMetrics.horizontalAdvance(left) + 1 + 2 * kMargin <= row.rect.width() / 2; };
    if (!fits()) left = index.data(kShortTimeLeftRole).toString();
    // Draw the background of the whole row, then title and time on top, so that the title ends before the time.
    QStyleOptionViewItem ground = row;
    ground.text.clear();
    ground.icon = {};
    style->drawControl(QStyle::CE_ItemViewItem, &ground, painter, row.widget);
    const QRect all = row.rect;
    const int width = std::min(row.fontMetrics.horizontalAdvance(left) + 1 + 2 * kMargin, all.width() / 2);
    row.rect.setRight(all.right() - width);
    row.state &= ~QStyle::State_HasFocus;
    style->drawControl(QStyle::CE_ItemViewItem, &row, painter, row.widget);

    painter->save();
    painter->setFont(row.font);
    painter->setPen(isSelected ? row.palette.color(QPalette::HighlightedText) : FaintText());
    const QRect place(all.right() - width + kMargin, all.top(), width - 2 * kMargin, all.height());
    painter->drawText(place, Qt::AlignRight | Qt::AlignVCenter,
                      row.fontMetrics.elidedText(left, Qt::ElideRight, place.width()));
    const int indent = row.icon.isNull() ? kMargin : 2 * kMargin + row.decorationSize.width();
    const QRect track(all.left() + indent, all.bottom() - kLine - 1, all.width() - indent - kMargin, kLine);
    QRect heard = track;
    heard.setWidth(static_cast<int>(track.width() * std::clamp(progress.toDouble(), 0.0, 1.0)));
    painter->fillRect(track, row.palette.color(isSelected ? QPalette::Base : QPalette::Mid));
    painter->fillRect(heard, row.palette.color(QPalette::Link));
    painter->restore();
}

}  // namespace vexa::host
