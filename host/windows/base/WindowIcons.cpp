#include "WindowIcons.h"

#include <QApplication>
#include <QHash>
#include <QPainter>
#include <QPalette>

/// The drawings are in a static library, whose resources have to be initialised explicitly.
static void LoadDrawings() {
    Q_INIT_RESOURCE(WindowIcons);
}

namespace vexa::host {

namespace {

constexpr int kSizes[] = {16, 24, 32, 64};

QHash<QString, QIcon>& Known() {
    static QHash<QString, QIcon> icons;
    return icons;
}

QPixmap Tinted(const QString& file, const QColor& colour) {
    QPixmap pixmap(file);
    if (pixmap.isNull()) return pixmap;
    QPainter painter(&pixmap);
    painter.setCompositionMode(QPainter::CompositionMode_SourceIn);
    painter.fillRect(pixmap.rect(), colour);
    return pixmap;
}

}  // namespace

QIcon WindowIcon(const QString& name) {
    const auto known = Known().constFind(name);
    if (known != Known().constEnd()) return *known;
    if (Known().isEmpty()) LoadDrawings();
    const QPalette palette = QApplication::palette();
    QIcon icon;
    for (const int size : kSizes) {
        const QString file = u":/window/" + name + u'-' + QString::number(size);
        icon.addPixmap(Tinted(file, palette.color(QPalette::Active, QPalette::Text)), QIcon::Normal);
        icon.addPixmap(Tinted(file, palette.color(QPalette::Active, QPalette::Text)), QIcon::Selected);
        icon.addPixmap(Tinted(file, palette.color(QPalette::Disabled, QPalette::Text)), QIcon::Disabled);
    }
    Known().insert(name, icon);
    return icon;
}

QIcon ProgramIcon() {
    LoadDrawings();
    QIcon icon;
    for (const int size : kSizes) icon.addFile(u":/window/vexa-" + QString::number(size));
    return icon;
}

void ForgetWindowIcons() {
    Known().clear();
}

}  // namespace vexa::host
