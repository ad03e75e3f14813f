#include "NowPlayingButton.h"

#include "WindowTheme.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFocusRect>
#include <QTextDocument>

namespace vexa::host {

namespace {

constexpr int kGap = 10;

}  // namespace

NowPlayingButton::NowPlayingButton(QWidget* parent) : QAbstractButton(parent) {
    setObjectName(QStringLiteral("NowPlaying"));
    setFocusPolicy(Qt::StrongFocus);
    setCursor(Qt::PointingHandCursor);
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    policy.setRetainSizeWhenHidden(true);
    setSizePolicy(policy);
    hide();
}

void NowPlayingButton::SetTexts(const QString& title, const QString& below) {
    const QString shown = title.simplified();
    FBelow = below.simplified();
    setVisible(!shown.isEmpty());
    if (text() != shown) setText(shown);
    const QString both = FBelow.isEmpty() ? shown : QString(shown + u'\n' + FBelow);
    setAccessibleName(QString(both).replace(u'\n', QStringLiteral("  –  ")));
    setToolTip(Qt::convertFromPlainText(both));
    update();
}

void NowPlayingButton::SetCover(const QPixmap& cover) {
    FCover = cover;
    update();
}

void NowPlayingButton::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    int left = 0;
    if (!FCover.isNull()) {
        painter.drawPixmap(0, (height() - kCoverSide) / 2, FCover);
        left = kCoverSide + kGap;
    }
    QFont bold = font();
    bold.setWeight(QFont::DemiBold);
    bold.setUnderline(underMouse());
    const QFontMetrics over(bold), under(font());
    const int lines = FBelow.isEmpty() ? over.height() : over.height() + 2 + under.height();
    QRect place(left, (height() - lines) / 2, width() - left, over.height());
    // Texts begin at the picture whatever their direction, as the titles of rows do.
    painter.setFont(bold);
    painter.drawText(place, Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine,
                     over.elidedText(text(), Qt::ElideRight, place.width()));
    if (!FBelow.isEmpty()) {
        place = QRect(left, place.bottom() + 3, place.width(), under.height());
        painter.setFont(font());
        painter.setPen(FaintText());
        painter.drawText(place, Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter | Qt::TextSingleLine,
                         under.elidedText(FBelow, Qt::ElideRight, place.width()));
    }
    if (!hasFocus()) return;
    QStyleOptionFocusRect focus;
    focus.initFrom(this);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &painter, this);
}

void NowPlayingButton::enterEvent(QEnterEvent* event) {
    update();
    QAbstractButton::enterEvent(event);
}

void NowPlayingButton::leaveEvent(QEvent* event) {
    update();
    QAbstractButton::leaveEvent(event);
}

}  // namespace vexa::host
