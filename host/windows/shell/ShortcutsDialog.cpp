#include "ShortcutsDialog.h"

#include "RowDelegate.h"

#include <QAction>
#include <QBoxLayout>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>

namespace vexa::host {

namespace {

constexpr QSize kSize(560, 560);

QString Shown(const QList<QKeySequence>& keys) {
    QStringList texts;
    for (const QKeySequence& one : keys) texts += one.toString(QKeySequence::NativeText);
    return texts.join(QStringLiteral(", "));
}

/// A menu's caption without its mnemonic and without the dots that announce a dialog.
QString WithoutMarks(QString caption) {
    caption.replace(QStringLiteral("&&"), QString(QChar(1))).remove(u'&').replace(QChar(1), u'&');
    return caption.endsWith(u'…') ? caption.chopped(1) : caption;
}

}  // namespace

void ShowShortcutsDialog(const QList<QAction*>& actions, MenuManager& menus, const WindowTexts& texts,
                         QWidget& window) {
    auto* dialog = new QDialog(&window);
    dialog->setObjectName(QStringLiteral("ShortcutsDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(WithoutMarks(texts("Shortcuts")));
    dialog->resize(kSize);
    auto* list = new QTreeWidget;
    list->setAccessibleName(dialog->windowTitle());
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAlternatingRowColors(true);
    list->setAllColumnsShowFocus(true);
    list->setItemDelegate(new RowDelegate(list));
    list->setHeaderLabels({texts("ShortcutKeys"), texts("ShortcutWhat")});
    const auto add = [list](const QString& keys, const QString& what) {
        list->addTopLevelItem(new QTreeWidgetItem({keys, what}));
    };
    for (const QAction* action : actions)
        if (!action->shortcuts().isEmpty() && action->isVisible())
            add(Shown(action->shortcuts()), WithoutMarks(action->text()));
    for (const auto& item : menus.ItemsWithShortcuts())
        add(Shown(menus.Shortcuts(*item)), WithoutMarks(menus.Caption(*item)));
    add(Shown({QKeySequence(Qt::Key_Return)}), texts("Play"));
    add(Shown({QKeySequence(Qt::Key_Delete)}), texts("RemoveFromList"));
    add(Shown({QKeySequence(Qt::ALT | Qt::Key_Up)}), texts("MoveUp"));
    add(Shown({QKeySequence(Qt::ALT | Qt::Key_Down)}), texts("MoveDown"));
    add(Shown({QKeySequence(Qt::ALT | Qt::Key_Home)}), texts("ToTop"));
    list->resizeColumnToContents(0);
    list->setCurrentItem(list->topLevelItem(0));
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(texts("Close"), QDialogButtonBox::RejectRole)->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto* whole = new QVBoxLayout(dialog);
    whole->addWidget(list, 1);
    whole->addWidget(buttons);
    dialog->open();
}

}  // namespace vexa::host
