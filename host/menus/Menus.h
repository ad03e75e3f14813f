#pragma once
// Menus: items that plug-ins register, in the host's own menus. Main thread.
//
//     const auto menu = host.Menus().BuiltIn(kMenuLibraryTable);
//     host.Menus().PrepareToShow(*menu, dpi);            // before it shows
//     for (const auto& item : host.Menus().Children(*menu)) …
//     host.Menus().Trigger(*item);                       // chosen in a menu that shows
//     host.Menus().RunShortcut(QKeySequence(…));         // chosen without one
//
// windows/base/MenuBuilder.h makes menus of the toolkit's from it.

#include "Core.h"
#include "Language.h"
#include "PropertyList.h"
#include "VEXA.SDK.Images.h"
#include "VEXA.SDK.Menus.h"

#include <QKeySequence>

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
    MenuManager* FManager = nullptr;  // while it is registered, or built in
};

class MenuManager final : public RefCountedObject<IVEXAServiceMenuManager>, public ExtensionTarget {
public:
    using Item = Ref<IVEXAMenuItem>;

    /// `core` outlives the items that are registered; `language` gives captions.
    MenuManager(Core& core, Ref<LanguageService> language);
    ~MenuManager() override;

    /// Null for what is no BuiltInMenu.
    Item BuiltIn(std::int32_t menu) const;
    /// Null when there is none.
    Item Find(const QString& id) const;
    /// Visible or not, in the order registered.
    std::vector<Item> Children(IVEXAMenuItem& parent) const;

    QString ID(IVEXAMenuItem& item) const;
    /// The item's own, else the language's for its ID. Plain text, as plug-ins and feeds make it.
    QString Caption(IVEXAMenuItem& item) const;
    bool IsEnabled(IVEXAMenuItem& item) const;
    bool IsVisible(IVEXAMenuItem& item) const;
    QKeySequence Shortcut(IVEXAMenuItem& item) const;
    /// Null when it has none.
    Ref<IVEXAImage> Glyph(IVEXAMenuItem& item) const;
    bool HasEvent(IVEXAMenuItem& item) const;

    /// Tells every item of the menu and its submenus that carries an on-show event, hidden ones included. Glyphs are to
    /// be for `dpi`.
    void PrepareToShow(IVEXAMenuItem& menu, std::int32_t dpi = 96);
    /// Prepares the whole menu that an item stands in.
    void PrepareAround(IVEXAMenuItem& item);
    /// Runs an item of a menu that was prepared: S_OK, E_ABORT when it, or what it stands under, is hidden or disabled,
    /// E_NOTIMPL when it has nothing to run.
    HResult Trigger(IVEXAMenuItem& item);
    /// Prepares the item's menu, then does the same; E_FAIL when the item has left the menu meanwhile.
    HResult Run(IVEXAMenuItem& item);
    /// Runs the first item of that shortcut that can be run now. False when none can.
    bool RunShortcut(const QKeySequence& keys);

    /// Takes away all items under one.
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
    bool Has(IVEXAMenuItem& item) const;
    void Prepare(IVEXAMenuItem& menu, int depth);
    void Take(IVEXAMenuItem& item);

    Core& FCore;
    const Ref<LanguageService> FLanguage;
    std::vector<Menu> FMenus;
    std::vector<Item> FItems;  // in the order registered
};

}  // namespace vexa::host
