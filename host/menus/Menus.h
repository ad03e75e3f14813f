#pragma once
// Service: menu items that plug-ins register in the host's own menus. Main thread.
//
//     const auto menu = host.Menus().BuiltIn(kMenuLibraryTable);
//     host.Menus().PrepareToShow(*menu, dpi);            // before the menu is shown
//     for (const auto& item : host.Menus().Children(*menu)) …
//     host.Menus().Trigger(*item);                       // when the item is chosen in the shown menu
//     host.Menus().RunShortcut(QKeySequence(…));         // when its shortcut is pressed
//
// windows/base/MenuBuilder.h builds the toolkit's menus from these.

#include "Core.h"
#include "Language.h"
#include "PropertyList.h"
#include "VEXA.SDK.Images.h"
#include "VEXA.SDK.Menus.h"

#include <QKeySequence>

#include <optional>
#include <vector>

namespace vexa::host {

class MenuManager;

class MenuItem final : public PropertyList<IVEXAMenuItem, IVEXADPIAware> {
public:
    MenuItem();

    /// Does nothing for an item that is in no menu.
    HResult DeleteChildren() noexcept override;
    std::int32_t GetDPI() noexcept override { return FDPI; }
    HResult SetDPI(std::int32_t dpi) noexcept override;

private:
    friend class MenuManager;

    std::int32_t FDPI = 96;
    MenuManager* FManager = nullptr;  // set while the item is registered or built in
};

class MenuManager final : public RefCountedObject<IVEXAServiceMenuManager>, public ExtensionTarget {
public:
    using Item = Ref<IVEXAMenuItem>;

    /// `core` outlives the registered items; `language` provides captions.
    MenuManager(Core& core, Ref<LanguageService> language);
    ~MenuManager() override;

    /// Null when `menu` is not a BuiltInMenu.
    Item BuiltIn(std::int32_t menu) const;
    /// The registered item of that ID; null when there is none.
    Item Find(const QString& id) const;
    /// The items below `parent`, hidden ones included, in the order registered.
    std::vector<Item> Children(IVEXAMenuItem& parent) const;

    QString ID(IVEXAMenuItem& item) const;
    /// The item's own caption, else the language's for the item's ID. Plain text: it may come from a feed.
    QString Caption(IVEXAMenuItem& item) const;
    bool IsEnabled(IVEXAMenuItem& item) const;
    bool IsVisible(IVEXAMenuItem& item) const;
    QList<QKeySequence> Shortcuts(IVEXAMenuItem& item) const;
    /// All registered items that have a shortcut, in the order registered.
    std::vector<Item> ItemsWithShortcuts() const;
    /// The item of the library that has this button; null when there is none.
    Item WithButton(IVEXAMenuItem::Buttons button) const;
    /// The built-in menu that contains the item; nothing for an item in no menu.
    std::optional<BuiltInMenu> MenuOf(IVEXAMenuItem& item) const;
    /// Null when the item has none.
    Ref<IVEXAImage> Glyph(IVEXAMenuItem& item) const;
    bool HasEvent(IVEXAMenuItem& item) const;

    /// Sets every registered item's resolution to `dpi`, then runs the on-show events of the menu and its submenus,
    /// those of hidden items included.
    void PrepareToShow(IVEXAMenuItem& menu, std::int32_t dpi = 96);
    /// Prepares the whole menu that contains the item, from its root. For an item in no menu, all items in none.
    void PrepareAround(IVEXAMenuItem& item);
    /// Runs an item of a prepared menu. S_OK; E_ABORT when the item or one of its parents is hidden or disabled;
    /// E_NOTIMPL when the item has no event.
    HResult Trigger(IVEXAMenuItem& item);
    /// Prepares the item's menu, then triggers the item; E_FAIL when preparing has removed the item.
    HResult Run(IVEXAMenuItem& item);
    /// Runs the first item with that shortcut that can be run now, but none of the menu `except`. False when there is
    /// none.
    bool RunShortcut(const QKeySequence& keys, std::optional<BuiltInMenu> except = {});

    /// Removes all items below `parent`.
    void DeleteChildren(IVEXAMenuItem& parent);

    HResult AddExtension(IUnknown* extension) override;
    void RemoveExtension(IUnknown* extension) override;

    HResult GetByID(IVEXAString* id, IVEXAMenuItem** item) noexcept override;
    HResult GetBuiltIn(std::int32_t menu, IVEXAMenuItem** item) noexcept override;

private:
    struct Menu {
        std::int32_t Number;
        Ref<MenuItem> Item;
    };

    Item Parent(IVEXAMenuItem& item) const;
    Item RootOf(IVEXAMenuItem& item) const;
    bool Has(IVEXAMenuItem& item) const;
    void Prepare(IVEXAMenuItem& menu, int depth);
    void Unregister(IVEXAMenuItem& item);

    Core& FCore;
    const Ref<LanguageService> FLanguage;
    std::vector<Menu> FMenus;
    std::vector<Item> FItems;  // in the order registered
};

}  // namespace vexa::host
