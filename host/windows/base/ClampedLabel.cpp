#include "ClampedLabel.h"

#include <QEvent>
#include <QPainter>
#include <QTextDocument>
#include <QTextLayout>

#include <algorithm>

namespace vexa::host {

ClampedLabel::ClampedLabel(int maxLines, QWidget* parent) : QWidget(parent), FMaxLines(maxLines) {
    QSizePolicy policy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void ClampedLabel::SetText(const QString& text) {
    if (FText == text) return;
    FText = text;
    setAccessibleName(text);
    setToolTip(Qt::convertFromPlainText(text));
    updateGeometry();
    update();
}

int ClampedLabel::Break(QTextLayout& layout, int width) const {
    QTextOption option(Qt::AlignLeft);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    option.setTextDirection(FText.isRightToLeft() ? Qt::RightToLeft : Qt::LeftToRight);
    layout.setTextOption(option);
    layout.beginLayout();
    int lines = 0;
    for (QTextLine line = layout.createLine(); line.isValid() && lines < FMaxLines; line = layout.createLine()) {
        line.setLineWidth(std::max(width, 1));
        line.setPosition(QPointF(0, lines++ * fontMetrics().lineSpacing()));
    }
    layout.endLayout();
    return lines;
}

int ClampedLabel::heightForWidth(int width) const {
    QTextLayout layout(FText, font());
    return std::max(Break(layout, width), 1) * fontMetrics().lineSpacing();
}

void ClampedLabel::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    QTextLayout layout(FText, font());
    // No more lines than there is room for, lest half of one is seen.
    const int room = std::max(height() / fontMetrics().lineSpacing(), 1);
    const int lines = std::min(Break(layout, width()), room);
    for (int i = 0; i < lines; ++i) {
        const QTextLine line = layout.lineAt(i);
        const bool isCut = i == lines - 1 && line.textStart() + line.textLength() < FText.size();
        if (!isCut) {
            line.draw(&painter, QPointF());
            continue;
        }
        const QString rest = fontMetrics().elidedText(FText.mid(line.textStart()), Qt::ElideRight, width());
        painter.drawText(QRectF(0, line.y(), width(), fontMetrics().lineSpacing()),
                         int(Qt::AlignVCenter | (FText.isRightToLeft() ? Qt::AlignRight : Qt::AlignLeft)), rest);
    }
}

void ClampedLabel::changeEvent(QEvent* event) {
    if (event->type() == QEvent::FontChange) updateGeometry();
    QWidget::changeEvent(event);
}

}  // namespace vexa::host
