#include "Podcasts.Plugin.Dialogs.Find.Delegate.h"

#include "Podcasts.Plugin.Dialogs.Find.Model.h"
#include "apiWrappers.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace podcasts {

using namespace vexa;

namespace {

constexpr int kCover = 56, kPadding = 8, kGap = 12, kLineGap = 2, kRadius = 4;

QFont Bold(QFont font) {
    font.setBold(true);
    return font;
}

/// A mixture of the two, with `share` of 100 of the first.
QColor Mixed(const QColor& first, const QColor& second, int share) {
    const auto mix = [share](int a, int b) { return (a * share + b * (100 - share)) / 100; };
    return {mix(first.red(), second.red()), mix(first.green(), second.green()), mix(first.blue(), second.blue())};
}

/// The text's first line, as far as it fits.
void DrawLine(QPainter& painter, const QRect& line, const QString& text) {
    const QString one = QString(text).replace(u'\n', u' ');
    // A long text is cut first, because measuring takes time for every letter.
    const QString shown = painter.fontMetrics().elidedText(one.left(400), Qt::ElideRight, line.width());
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

}  // namespace

QSize TPodcastFindDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex&) const {
    const int lines = QFontMetrics(Bold(option.font)).height() + 2 * (QFontMetrics(option.font).height() + kLineGap);
    return {kCover * 4, std::max(kCover, lines) + 2 * kPadding};
}

void TPodcastFindDelegate::PaintCover(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
                                      const QModelIndex& at) const {
    const TPodcastFindEntry& entry = static_cast<const TPodcastFindModel*>(at.model())->At(at.row());
    const qreal ratio = painter.device()->devicePixelRatioF();
    QPixmap picture = FPictures.Find(entry.Picture, static_cast<int>(std::ceil(kCover * ratio)));
    QPainterPath shape;
    shape.addRoundedRect(place, kRadius, kRadius);
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipPath(shape);
    if (!picture.isNull()) {
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(place, picture);
    } else {
        // Until there is a cover: the title's first letter on a colour of its own.
        const QColor base = option.palette.color(QPalette::Base);
        const auto hue = static_cast<int>(qHash(entry.Title) % 360);
        painter.fillRect(place, Mixed(QColor::fromHsv(hue, 130, 160), base, base.lightness() < 128 ? 60 : 75));
        QFont font = Bold(option.font);
        font.setPixelSize(kCover / 2);
        painter.setFont(font);
        painter.setPen(Qt::white);
        const qsizetype letter = entry.Title.size() > 1 && entry.Title.at(0).isHighSurrogate() ? 2 : 1;
        painter.drawText(place, Qt::AlignCenter, entry.Title.left(letter).toUpper());
    }
    painter.restore();
}

void TPodcastFindDelegate::paint(QPainter* painter, const QStyleOptionViewItem& given, const QModelIndex& at) const {
    QStyleOptionViewItem option = given;
    option.rect = given.rect;
    const TPodcastFindEntry& entry = static_cast<const TPodcastFindModel*>(at.model())->At(at.row());
    const QStyle* const style = option.widget ? option.widget->style() : QApplication::style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);

    const bool isSelected = option.state.testFlag(QStyle::State_Selected);
    const auto group = option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
    const QColor text = option.palette.color(group, isSelected ? QPalette::HighlightedText : QPalette::Text);
    const QColor behind = option.palette.color(group, isSelected ? QPalette::Highlight : QPalette::Base);
    const QColor faint = Mixed(text, behind, 68);

    const QRect inner = option.rect.adjusted(kPadding, kPadding, -kPadding, -kPadding);
    QRect cover(0, 0, kCover, kCover);
    cover.moveTopLeft({inner.left(), inner.top() + (inner.height() - kCover) / 2});
    QRect lines = inner.adjusted(kCover + kGap, 0, 0, 0);
    if (option.direction == Qt::RightToLeft) {
        cover.moveRight(inner.right());
        lines = inner.adjusted(0, 0, -kCover - kGap, 0);
    }
    PaintCover(*painter, option, cover, at);

    painter->save();
    const QFont bold = Bold(option.font);
    const int first = QFontMetrics(bold).height(), other = QFontMetrics(option.font).height();
    const QString facts = TPodcastFindModel::Facts(entry);
    const int shown = 1 + (facts.isEmpty() ? 0 : 1) + (entry.Description.isEmpty() ? 0 : 1);
    int top = lines.top() + (lines.height() - first - (shown - 1) * (other + kLineGap)) / 2;
    QRect title(lines.left(), top, lines.width(), first);
    if (entry.IsSubscribed) {
        const QString mark = u"✓ " + LocalizedText(QStringLiteral("Podcasts.Find\\Subscribed"));
        painter->setFont(option.font);
        painter->setPen(faint);
        painter->drawText(title, Qt::AlignTrailing | Qt::AlignVCenter | Qt::TextSingleLine, mark);
        const int taken = painter->fontMetrics().horizontalAdvance(mark) + kGap;
        const bool isReversed = option.direction == Qt::RightToLeft;
        title.adjust(isReversed ? taken : 0, 0, isReversed ? 0 : -taken, 0);
    }
    painter->setFont(bold);
    painter->setPen(text);
    DrawLine(*painter, title, entry.Title);
    top += first + kLineGap;
    painter->setFont(option.font);
    painter->setPen(faint);
    for (const QString& line : {facts, entry.Description}) {
        if (line.isEmpty()) continue;
        DrawLine(*painter, {lines.left(), top, lines.width(), other}, line);
        top += other + kLineGap;
    }
    painter->restore();
    if (option.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(option);
        focus.backgroundColor = behind;
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, painter, option.widget);
    }
}

}  // namespace podcasts
