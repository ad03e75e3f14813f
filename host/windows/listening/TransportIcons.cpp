#include "TransportIcons.h"

#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>

namespace vexa::host {

namespace {

QPainterPath Triangle(double left, double right) {
    QPainterPath path(QPointF(left, 5));
    path.lineTo(right, 12);
    path.lineTo(left, 19);
    path.closeSubpath();
    return path;
}

/// Draws the icon on a square of 24 by 24.
void Draw(QPainter& painter, TransportIcon icon, const QColor& color) {
    const QPen pen(color, 2, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    switch (icon) {
        case TransportIcon::Play:
            return painter.drawPath(Triangle(7, 19));
        case TransportIcon::Pause:
            painter.drawRoundedRect(QRectF(6, 5, 4, 14), 1, 1);
            painter.drawRoundedRect(QRectF(14, 5, 4, 14), 1, 1);
            return;
        case TransportIcon::Next:
            painter.drawPath(Triangle(6, 15));
            painter.drawRoundedRect(QRectF(16, 5, 2.5, 14), 1, 1);
            return;
        case TransportIcon::Previous:
            painter.drawPath(Triangle(18, 9));
            painter.drawRoundedRect(QRectF(5.5, 5, 2.5, 14), 1, 1);
            return;
        case TransportIcon::Back:
            painter.drawPath(Triangle(12, 3));
            painter.drawPath(Triangle(21, 12));
            return;
        case TransportIcon::Forward:
            painter.drawPath(Triangle(3, 12));
            painter.drawPath(Triangle(12, 21));
            return;
        case TransportIcon::Volume:
            painter.drawPolygon(QPolygonF({{3, 9}, {7, 9}, {12, 4.5}, {12, 19.5}, {7, 15}, {3, 15}}));
            painter.setPen(pen);
            painter.setBrush(Qt::NoBrush);
            painter.drawArc(QRectF(9, 8, 8, 8), -50 * 16, 100 * 16);
            painter.drawArc(QRectF(7, 4.5, 14, 15), -50 * 16, 100 * 16);
            return;
        case TransportIcon::Sleep: {
            QPainterPath moon;
            moon.addEllipse(QRectF(4, 4, 16, 16));
            QPainterPath shadow;
            shadow.addEllipse(QRectF(9.5, 1.5, 14, 14));
            return painter.drawPath(moon.subtracted(shadow));
        }
        case TransportIcon::Chapters:
            for (const double y : {6.0, 12.0, 18.0}) {
                painter.drawEllipse(QPointF(5, y), 1.5, 1.5);
                painter.drawRoundedRect(QRectF(9, y - 1, 12, 2), 1, 1);
            }
            return;
    }
}

class Engine final : public QIconEngine {
public:
    Engine(TransportIcon icon, const QColor& color, const QColor& disabled)
        : FIcon(icon), FColor(color), FDisabled(disabled) {}
    void paint(QPainter* painter, const QRect& area, QIcon::Mode mode, QIcon::State) override {
        const int side = std::min(area.width(), area.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(area.x() + (area.width() - side) / 2.0, area.y() + (area.height() - side) / 2.0);
        painter->scale(side / 24.0, side / 24.0);
        Draw(*painter, FIcon, mode == QIcon::Disabled ? FDisabled : FColor);
        painter->restore();
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }
    QIconEngine* clone() const override { return new Engine(*this); }

private:
    const TransportIcon FIcon;
    const QColor FColor, FDisabled;
};

}  // namespace

QIcon MakeTransportIcon(TransportIcon icon, const QColor& color, const QColor& disabled) {
    return QIcon(new Engine(icon, color, disabled));
}

}  // namespace vexa::host
