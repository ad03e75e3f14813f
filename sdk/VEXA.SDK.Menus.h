#pragma once
// Menus. Main thread.
//
// Before a menu opens, and before a shortcut runs, the host calls the OnShow event of every item of that menu that has
// one, hidden items included; its properties then decide whether the item is shown and enabled. An item without a
// Caption gets it from the language file, by the item's ID.

#include "VEXA.SDK.Objects.h"

namespace vexa {

/// A menu item, or a whole menu. The host's items also offer IVEXADPIAware. Core creates an empty item; registered as
/// an extension of the menu manager, it appears under its parent, in the order registered.
struct IVEXAMenuItem : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{A124D777-CFBB-49C3-85BA-3B1B2CFCCC34}");

    enum Property : std::int32_t {
        ID = 2,        // text, unique in the host; empty for items that are never looked up
        Caption = 3,   // plain text, shown literally: no markup, no mnemonic
        Enabled = 4,   // 0 or 1; initially 1
        Event = 6,     // IVEXAActionEvent: runs when the item is chosen
        OnShow = 7,    // IVEXAActionEvent: runs before the item's menu is shown
        Shortcut = 9,  // text, as Qt's QKeySequence reads a list in its portable form ("F5; Ctrl+R")
        Glyph = 10,    // IVEXAImage
        Parent = 11,   // IVEXAMenuItem; without one the item is in no menu, and only its shortcut or button runs it
        Visible = 12,  // 0 or 1; initially 1
        Button = 20,   // Buttons; initially NoButton
    };
    /// An item may have a button outside the menus in addition. The host shows the button with an icon of its own where
    /// it makes sense, and runs the item as from its menu.
    enum Buttons : std::int32_t {
        NoButton = 0,
        FetchButton = 1,  // on the library's rows whose field with the role LocalFile is empty: gets a copy of the file
        DoneButton = 2,   // on its rows whose state is not the DoneValue of that field: the user is done with the row
        RefreshButton = 3,  // in the library's toolbar: looks for new rows
    };

    /// 14: Removes all items under this one.
    virtual HResult DeleteChildren() noexcept = 0;

protected:
    ~IVEXAMenuItem() = default;
};

/// The host's own menus.
enum BuiltInMenu : std::int32_t {
    kMenuPlaylistItem = 32,  // commands on the playlist's selected entries
    kMenuLibrary = 51,       // the library window's own menu
    kMenuLibraryTable = 71,  // commands on the selected rows of the library's table
    kMenuLibraryTree = 80,   // commands on the selected node of the library's tree
};

/// Service: the menu manager. Its extensions are IVEXAMenuItem objects; registering an item with the ID of another one
/// is E_INVALIDARG.
struct IVEXAServiceMenuManager : IUnknown {
    static constexpr Guid IID = ParseGuid("{9644EBF6-1BA4-42AA-AF1E-6599B24AAD0B}");

    /// 3: E_FAIL when no item has that ID.
    virtual HResult GetByID(IVEXAString* id, IVEXAMenuItem** item) noexcept = 0;
    /// 4: One of BuiltInMenu; E_INVALIDARG for another number.
    virtual HResult GetBuiltIn(std::int32_t menu, IVEXAMenuItem** item) noexcept = 0;

protected:
    ~IVEXAServiceMenuManager() = default;
};

}  // namespace vexa
