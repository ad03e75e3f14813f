#include "ListRowDelegate.h"

#include "TableModel.h"
#include "WindowIcons.h"
#include "WindowTheme.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QPainter>

#include <algorithm>

namespace vexa::host {

namespace {

constexpr int kMargin = 10, kGap = 12, kButton = 28, kIcon = 16, kDot = 7, kLine = 2;

}  // namespace

QIcon RowButtonIcon(RowButton button) {
    switch (button) {
        case RowButton::Play:
            return WindowIcon(QStringLiteral("play"));
        case RowButton::PlayNext:
            return WindowIcon(QStringLiteral("upnext"));
        case RowButton::Fetch:
            return WindowIcon(QStringLiteral("fetch"));
        case RowButton::Done:
            break;
    }
    return WindowIcon(QStringLiteral("done"));
}

ListRowDelegate::ListRowDelegate(std::function<bool(RowButton)> isOffered, QWidget& parent)
    : RowDelegate(&parent, kListHeight), FIsOffered(std::move(isOffered)), FView(parent) {}

std::vector<RowButton> ListRowDelegate::ButtonsOf(const QModelIndex& index) const {
    std::vector<RowButton> buttons;
    if (!index.data(TableModel::kSecondLineRole).isValid()) return buttons;  // not read yet
    for (const RowButton button : {RowButton::Play, RowButton::PlayNext, RowButton::Fetch, RowButton::Done}) {
        if (button == RowButton::Fetch && index.data(TableModel::kIsLocalRole).toBool()) continue;
        if (button == RowButton::Done && index.data(TableModel::kIsDoneRole).toBool()) continue;
        if (FIsOffered(button)) buttons.push_back(button);
    }
    return buttons;
}

bool ListRowDelegate::ShowsButtons(const QModelIndex& index) const {
    if (FHovered == index) return true;
    const auto* view = qobject_cast<QAbstractItemView*>(&FView);
    return view && view->hasFocus() && view->currentIndex().row() == index.row();
}

QRect ListRowDelegate::PlaceOf(RowButton button, const QRect& row, const QModelIndex& index) const {
    const std::vector<RowButton> buttons = ButtonsOf(index);
    const auto found = std::find(buttons.begin(), buttons.end(), button);
    if (found == buttons.end()) return {};
    const auto fromRight = static_cast<int>(buttons.end() - found);
    return {row.right() - kMargin - fromRight * kButton, row.top() + (row.height() - kButton) / 2, kButton, kButton};
}

std::optional<RowButton> ListRowDelegate::ButtonAt(const QPoint& place, const QRect& row,
                                                   const QModelIndex& index) const {
    if (ShowsButtons(index))
        for (const RowButton button : ButtonsOf(index))
            if (PlaceOf(button, row, index).contains(place)) return button;
    return std::nullopt;
}

void ListRowDelegate::SetHovered(const QModelIndex& index, std::optional<RowButton> button) {
    FHovered = index;
    FHoveredButton = button;
}

void ListRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
    QStyleOptionViewItem row = option;
    initStyleOption(&row, index);
    const QIcon picture = row.icon;
    QStyleOptionViewItem ground = row;
    ground.text.clear();
    ground.icon = {};
    (row.widget ? row.widget->style() : QApplication::style())
        ->drawControl(QStyle::CE_ItemViewItem, &ground, painter, row.widget);

    painter->save();
    constexpr int side = TableModel::kListCoverSide;
    QRect place = row.rect.adjusted(kMargin, 0, -kMargin, 0);
    if (!picture.isNull()) {
        picture.paint(painter, QRect(place.left(), place.top() + (place.height() - side) / 2, side, side));
        place.setLeft(place.left() + side + kGap);
    }
    if (ShowsButtons(index)) {
        for (const RowButton button : ButtonsOf(index)) {
            const QRect at = PlaceOf(button, row.rect, index);
            place.setRight(std::min(place.right(), at.left() - kGap));
            if (FHovered == index && FHoveredButton == button) {
                painter->setRenderHint(QPainter::Antialiasing);
                painter->setPen(Qt::NoPen);
                painter->setBrush(row.palette.color(QPalette::Mid));
                painter->drawRoundedRect(at, 4, 4);
            }
            RowButtonIcon(button).paint(painter,
                                        QRect(at.center() - QPoint(kIcon / 2 - 1, kIcon / 2 - 1), QSize(kIcon, kIcon)));
        }
    } else if (index.data(TableModel::kIsLocalRole).toBool()) {
        WindowIcon(QStringLiteral("downloaded"))
            .paint(painter, QRect(place.right() - kIcon, place.top() + (place.height() - kIcon) / 2, kIcon, kIcon));
        place.setRight(place.right() - kIcon - kGap);
    }
    PaintTexts(*painter, row, index, place);
    painter->restore();
}

void ListRowDelegate::PaintTexts(QPainter& painter, const QStyleOptionViewItem& row, const QModelIndex& index,
                                 QRect place) const {
    const bool isUntouched = index.data(TableModel::kIsUntouchedRole).toBool();
    QFont titleFont = row.font;
    if (isUntouched) titleFont.setWeight(QFont::DemiBold);
    const QFontMetrics over(titleFont), under(row.font);
    const QColor textColour = row.palette.color(QPalette::Text);
    const int top = place.top() + (place.height() - over.height() - under.height() - 3) / 2;
    QRect title(place.left(), top, place.width(), over.height());
    if (isUntouched) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(row.palette.color(QPalette::Link));
        painter.drawEllipse(QRectF(title.left(), title.center().y() - (kDot - 1) / 2.0, kDot, kDot));
        title.setLeft(title.left() + kDot + 6);
    }
    painter.setFont(titleFont);
    painter.setPen(textColour);
    constexpr auto kFlags = Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine;
    painter.drawText(title, kFlags, over.elidedText(row.text, Qt::ElideRight, title.width()));
    painter.setFont(row.font);
    painter.setPen(FaintText());
    const QRect below(place.left(), title.bottom() + 4, place.width(), under.height());
    painter.drawText(
        below, kFlags,
        under.elidedText(index.data(TableModel::kSecondLineRole).toString(), Qt::ElideRight, below.width()));
    const QVariant progress = index.data(kProgressRole);
    if (!progress.isValid()) return;
    painter.setRenderHint(QPainter::Antialiasing, false);
    const QRect track(place.left(), row.rect.bottom() - kLine - 3, place.width(), kLine);
    QRect heard = track;
    heard.setWidth(static_cast<int>(track.width() * std::clamp(progress.toDouble(), 0.0, 1.0)));
    painter.fillRect(track, row.palette.color(QPalette::Mid));
    painter.fillRect(heard, row.palette.color(QPalette::Link));
}

}  // namespace vexa::host
