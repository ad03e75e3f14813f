#include "ShortcutsDialog.h"

#include "ListDialog.h"

#include <QAction>

namespace vexa::host {

namespace {

constexpr QSize kSize(560, 560);

QString Shown(const QList<QKeySequence>& keys) {
    QStringList texts;
    for (const QKeySequence& one : keys) texts += one.toString(QKeySequence::NativeText);
    return texts.join(QStringLiteral(", "));
}

/// A caption without the dots that announce a dialog.
QString WithoutDots(const QString& caption) {
    return caption.endsWith(u'…') ? caption.chopped(1) : caption;
}

/// The same without the mnemonic, as menus of the toolkit have it.
QString WithoutMarks(QString caption) {
    return WithoutDots(caption.replace(QStringLiteral("&&"), QString(QChar(1))).remove(u'&').replace(QChar(1), u'&'));
}

}  // namespace

void ShowShortcutsDialog(const QList<QAction*>& actions, MenuManager& menus, const WindowTexts& texts,
                         QWidget& window) {
    auto* dialog = new ListDialog(WithoutMarks(texts("Shortcuts")), {texts("ShortcutKeys"), texts("ShortcutWhat")},
                                  texts, nullptr, &window);
    dialog->setObjectName(QStringLiteral("ShortcutsDialog"));
    dialog->resize(kSize);
    const auto add = [dialog](const QString& keys, const QString& what) { dialog->Add(keys, what); };
    for (const QAction* action : actions)
        if (!action->shortcuts().isEmpty() && action->isVisible())
            add(Shown(action->shortcuts()), WithoutMarks(action->text()));
    for (const auto& item : menus.ItemsWithShortcuts())
        add(Shown(menus.Shortcuts(*item)), WithoutDots(menus.Caption(*item)));
    add(Shown({QKeySequence(Qt::Key_Return)}), texts("Play"));
    add(Shown({QKeySequence(Qt::Key_Delete)}), texts("RemoveFromList"));
    add(Shown({QKeySequence(Qt::ALT | Qt::Key_Up)}), texts("MoveUp"));
    add(Shown({QKeySequence(Qt::ALT | Qt::Key_Down)}), texts("MoveDown"));
    add(Shown({QKeySequence(Qt::ALT | Qt::Key_Home)}), texts("ToTop"));
    dialog->List()->resizeColumnToContents(0);
    dialog->List()->setCurrentItem(dialog->List()->topLevelItem(0));
    dialog->open();
}

}  // namespace vexa::host
