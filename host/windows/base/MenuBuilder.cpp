#include "MenuBuilder.h"

#include "Images.h"

#include <QFontMetrics>
#include <QStyle>
#include <QTextDocument>

#include <algorithm>
#include <cmath>

namespace vexa::host {

namespace {

// The longest caption, in average character widths.
constexpr int kMaxCaptionLength = 60;
constexpr int kMaxDepth = 16;

int DpiOf(const QWidget& widget) {
    return static_cast<int>(std::lround(widget.logicalDpiX() * widget.devicePixelRatioF()));
}

QIcon IconOf(IVEXAMenuItem& item, const MenuManager& menus, const QWidget& widget) {
    const QImage picture = ToQImage(menus.Glyph(item).Get());
    if (picture.isNull()) return {};
    QPixmap pixmap = QPixmap::fromImage(picture);
    // A picture made for a higher resolution is shown as large as the others, only finer.
    const int size = widget.style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, &widget);
    pixmap.setDevicePixelRatio(std::max(1.0, static_cast<double>(pixmap.width()) / std::max(size, 1)));
    return QIcon(pixmap);
}

void Add(QMenu& target, const Ref<MenuManager>& menus, const Ref<IVEXAMenuItem>& item, int depth) {
    if (!menus->IsVisible(*item)) return;
    const auto children = menus->Children(*item);
    const QString caption = menus->Caption(*item);
    QMenu* submenu = children.empty() || depth >= kMaxDepth ? nullptr : new QMenu(&target);
    QAction* action = submenu ? submenu->menuAction() : new QAction(&target);
    action->setText(MenuText(caption, target.fontMetrics()));
    action->setToolTip(Qt::convertFromPlainText(caption));
    action->setMenuRole(QAction::NoRole);
    action->setIcon(IconOf(*item, *menus, target));
    action->setObjectName(menus->ID(*item));
    action->setEnabled(menus->IsEnabled(*item) && (submenu || menus->HasEvent(*item)));
    target.addAction(action);
    if (submenu) {
        for (const auto& child : children) Add(*submenu, menus, child, depth + 1);
        return;
    }
    if (const QList<QKeySequence> keys = menus->Shortcuts(*item); !keys.isEmpty()) {
        // For display only: while the menu is closed, the shortcut has to act on the selection of that moment.
        action->setShortcuts(keys);
        action->setShortcutContext(Qt::WidgetShortcut);
    }
    QObject::connect(action, &QAction::triggered, action, [menus, item] { menus->Trigger(*item); });
}

}  // namespace

QString MenuText(const QString& caption, const QFontMetrics& font) {
    QString text = caption;
    // No tabs, because a tab starts the column of the shortcuts.
    for (QChar& c : text)
        if (c.category() == QChar::Other_Control || c == QChar::LineSeparator || c == QChar::ParagraphSeparator)
            c = u' ';
    text = font.elidedText(text, Qt::ElideRight, kMaxCaptionLength * font.averageCharWidth());
    return text.replace(u'&', QStringLiteral("&&"));
}

void FillMenu(QMenu& target, MenuManager& menus, IVEXAMenuItem& menu) {
    menus.PrepareToShow(menu, DpiOf(target));
    for (const auto& item : menus.Children(menu)) Add(target, Ref<MenuManager>(&menus), item, 0);
}

QMenu* BuildMenu(MenuManager& menus, const std::vector<BuiltInMenu>& parts, QWidget* parent) {
    auto* target = new QMenu(parent);
    QObject::connect(target, &QMenu::aboutToShow, target, [target, manager = Ref<MenuManager>(&menus), parts] {
        target->clear();
        qDeleteAll(target->findChildren<QMenu*>(QString(), Qt::FindDirectChildrenOnly));
        for (const BuiltInMenu part : parts) {
            if (!target->isEmpty()) target->addSeparator();
            FillMenu(*target, *manager, *manager->BuiltIn(part));
        }
    });
    return target;
}

}  // namespace vexa::host
