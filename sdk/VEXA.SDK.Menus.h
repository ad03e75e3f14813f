#pragma once
// Menus. Main thread.
//
// Before a menu opens, and before a shortcut runs, the host calls the on-show event of every item of that menu that
// carries one, hidden items included; an item then shows and runs as its properties say. The caption of an item that
// has none of its own comes from the language file, by the item's ID.

#include "VEXA.SDK.Objects.h"

namespace vexa {

/// An item of a menu, or a menu. The host's offer IVEXADPIAware too. Core creates an empty one; registered with the
/// menu manager as an extension it appears under its parent, in the order registered.
struct IVEXAMenuItem : IVEXAPropertyList {
    using Base = IVEXAPropertyList;
    static constexpr Guid IID = ParseGuid("{A124D777-CFBB-49C3-85BA-3B1B2CFCCC34}");

    enum Property : std::int32_t {
        ID = 2,        // text, unique in the host; empty for items that nobody looks up
        Caption = 3,   // text, plain: nothing in it is markup or a mnemonic
        Enabled = 4,   // 0 or 1; 1 at first
        Event = 6,     // IVEXAActionEvent: runs when the item is chosen
        OnShow = 7,    // IVEXAActionEvent: runs before the item's menu is shown
        Shortcut = 9,  // text, as Qt's QKeySequence reads it in its portable form ("Ctrl+R")
        Glyph = 10,    // IVEXAImage
        Parent = 11,   // IVEXAMenuItem
        Visible = 12,  // 0 or 1; 1 at first
    };

    /// 14: Takes away all items under this one.
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

/// Service: the menu manager. Extensions are IVEXAMenuItem objects; one with the ID of another is E_INVALIDARG.
struct IVEXAServiceMenuManager : IUnknown {
    static constexpr Guid IID = ParseGuid("{9644EBF6-1BA4-42AA-AF1E-6599B24AAD0B}");

    /// 3: E_FAIL when there is none of that ID.
    virtual HResult GetByID(IVEXAString* id, IVEXAMenuItem** item) noexcept = 0;
    /// 4: One of BuiltInMenu; E_INVALIDARG for another number.
    virtual HResult GetBuiltIn(std::int32_t menu, IVEXAMenuItem** item) noexcept = 0;

protected:
    ~IVEXAServiceMenuManager() = default;
};

}  // namespace vexa
