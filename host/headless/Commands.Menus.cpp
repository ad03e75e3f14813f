// Commands that run menu items, and set the selection that these act on.

#include "Commands.Functions.h"
#include "RowOptions.h"

#include <QJsonArray>

namespace vexa::host::commands {

namespace {

constexpr int kMaxDepth = 16;

QJsonArray ToJson(MenuManager& menus, IVEXAMenuItem& menu, int depth = 0) {
    QJsonArray list;
    if (depth > kMaxDepth) return list;
    for (const auto& item : menus.Children(menu))
        list += QJsonObject{{QStringLiteral("id"), menus.ID(*item)},
                            {QStringLiteral("caption"), menus.Caption(*item)},
                            {QStringLiteral("enabled"), menus.IsEnabled(*item)},
                            {QStringLiteral("visible"), menus.IsVisible(*item)},
                            {QStringLiteral("glyph"), static_cast<bool>(menus.Glyph(*item))},
                            {QStringLiteral("children"), ToJson(menus, *item, depth + 1)}};
    return list;
}

/// "ID" names an item, "ID/INDEX" one of the items below it.
struct ItemName {
    QString ID;
    int Index = -1;
};

ItemName ReadItemName(const QString& text) {
    const qsizetype slash = text.lastIndexOf(u'/');
    bool isNumber = false;
    const int index = text.mid(slash + 1).toInt(&isNumber);
    if (slash < 0 || !isNumber || index < 0) return {text};
    return {text.left(slash), index};
}

}  // namespace

QJsonObject Menu(Host& host, const QStringList& arguments) {
    const auto menu = host.Menus().BuiltIn(arguments[0].toInt());
    if (!menu) throw CommandError(QStringLiteral("a menu is 32, 51, 71 or 80"), E_INVALIDARG);
    host.Menus().PrepareToShow(*menu);
    return {{QStringLiteral("items"), ToJson(host.Menus(), *menu)}};
}

QJsonObject Run(Host& host, const QStringList& arguments) {
    MenuManager& menus = host.Menus();
    const ItemName name = menus.Find(arguments[0]) ? ItemName{arguments[0]} : ReadItemName(arguments[0]);
    const auto item = menus.Find(name.ID);
    if (!item) throw CommandError(u"there is no action " + name.ID + u": menu lists them", E_INVALIDARG);
    HResult result = E_FAIL;
    if (name.Index < 0) {
        result = menus.Run(*item);
    } else {
        // Preparing the menu may create the entries of the submenu.
        menus.PrepareAround(*item);
        const auto children = menus.Children(*item);
        if (name.Index >= static_cast<int>(children.size()))
            throw CommandError(u"the action " + name.ID + u" has " + QString::number(children.size()) + u" entries",
                               E_INVALIDARG);
        result = menus.Trigger(*children[static_cast<std::size_t>(name.Index)]);
    }
    if (result == E_ABORT) throw CommandError(u"the action " + name.ID + u" is hidden or disabled now", result);
    if (Failed(result)) throw CommandError(u"the action " + name.ID + u" has nothing to run", result);
    return {};
}

QJsonObject Select(Host& host, const QStringList& arguments) {
    const auto selection = std::make_shared<FixedSelection>();
    QStringList node;
    QString option;
    for (const QString& word : arguments) {
        if (word.startsWith(u"--"))
            option = word;
        else if (option == u"--node")
            node += word;
        else if (option == u"--files")
            selection->Files += word;
        else if (option == u"--focus")
            selection->Focused = word;
        else
            throw CommandError(u"what is " + word + u"? take --node, --files or --focus before it", E_INVALIDARG);
    }
    if (!node.isEmpty()) {
        const LibraryStorage storage(host.Library());
        selection->Provider = FirstTree(storage);
        selection->Path = FindNode(storage, node);
    }
    host.Selection().SetModel(selection);
    return {};
}

}  // namespace vexa::host::commands
