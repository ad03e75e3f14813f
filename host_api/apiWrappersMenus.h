#pragma once
// Commands in the host's menus.
//
// A command is an item, TVEXAUICustomMenuItem, registered once under an ID and a parent menu. It names a controller,
// which several items share: each time the host is about to show the menu, the controller finds out whether its items
// apply, collects the files that they would act on, and writes each item's glyph and state into the host's menu item.
//
//     const Ref<IVEXAUIMenuItemController> controller = NewObject<TMyController>();
//     NewObject<TMyCommand>(controller)->Register(QStringLiteral("My.Command"), ToVariant(std::int32_t{kMenuLibrary}));
//
// The host keeps an item alive, the item its controller; the controller knows its items without owning them. Main
// thread. Operations throw EHostError with the host's code where they say nothing else.

#include "apiWrappers.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace vexa {

/// Something is added where it, or another of its name, is already.
class EInvalidInsert : public std::runtime_error {
public:
    explicit EInvalidInsert(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class EInvalidOperation : public std::runtime_error {
public:
    explicit EInvalidOperation(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class TVEXAUICustomMenuItem;

/// What items ask of their controller. Its execute operation, the host's on-show event, refreshes. This interface stays
/// inside the plug-in: unlike those of the host, its operations may throw.
struct IVEXAUIMenuItemController : IVEXAActionEvent {
    using Base = IVEXAActionEvent;
    static constexpr Guid IID = ParseGuid("{3F4AA204-E1BC-4EC9-AC70-3F74F5225604}");

    /// The first item's host item gets the on-show event for all of them.
    virtual void AddItem(IVEXAMenuItem& hostItem, TVEXAUICustomMenuItem& item) = 0;
    /// As of the last refresh; false before.
    virtual bool IsAvailable() noexcept = 0;
    /// For an item that ends before its controller; nothing for one that was not added.
    virtual void RemoveItem(TVEXAUICustomMenuItem& item) noexcept = 0;

protected:
    ~IVEXAUIMenuItemController() = default;
};

/// A command; also the object that the host calls when the user chooses it. What Execute throws is logged and shown to
/// the user.
class TVEXAUICustomMenuItem : public Implements<TInterfacedObjectEx, IVEXAActionEvent> {
public:
    enum State : int { Disabled = 0, Enabled = 1, Visible = 2 };

    /// Does nothing when the host has no menus. `parent`: another menu item's ID, or the number of a BuiltInMenu.
    /// Throws EInvalidInsert for an item that is registered or an ID that is taken, EInvalidOperation for an empty ID.
    void Register(const QString& id, const Variant& parent);

    /// Base name of a PNG resource; empty: no glyph. Names with 120, 144, 168 or 192 behind are for that resolution.
    virtual QString GetGlyphName() const { return {}; }
    /// A set of State bits.
    virtual int GetState();
    /// `data` is what the host passes, and may be null.
    virtual void Execute(IUnknown* data) = 0;
    /// Writes what the user sees into the host's item, before it is shown.
    virtual void UpdateMenuState(IVEXAMenuItem& hostItem);

    /// Empty until Register has succeeded.
    const QString& ID() const noexcept { return FID; }

    void OnExecute(IUnknown* data) noexcept override;

protected:
    explicit TVEXAUICustomMenuItem(Ref<IVEXAUIMenuItemController> controller) : FController(std::move(controller)) {}
    ~TVEXAUICustomMenuItem() override;

    const Ref<IVEXAUIMenuItemController>& Controller() const noexcept { return FController; }
    /// A plain item under `parent`, without a controller.
    static void CreateSubItem(IVEXAMenuItem& parent, const QString& caption, IVEXAActionEvent& handler);

private:
    Ref<IVEXAMenuItem> CreateHostItem(IVEXAServiceMenuManager& menus, const Variant& parent);

    Ref<IVEXAUIMenuItemController> FController;
    QString FID;
};

/// Keeps its items as they should look. What a refresh throws is logged; nothing is available then.
class TVEXAUICustomMenuItemController : public Implements<TInterfacedObjectEx, IVEXAUIMenuItemController> {
public:
    void OnExecute(IUnknown* data) noexcept override;
    void AddItem(IVEXAMenuItem& hostItem, TVEXAUICustomMenuItem& item) override;
    bool IsAvailable() noexcept override { return FIsAvailable; }
    void RemoveItem(TVEXAUICustomMenuItem& item) noexcept override;

    /// Finds out anew whether the items apply, and updates them all.
    void Refresh() noexcept;

protected:
    virtual bool CheckAvailability() = 0;

private:
    void UpdateItem(TVEXAUICustomMenuItem& item);

    bool FIsAvailable = false;
    std::vector<TVEXAUICustomMenuItem*> FItems;  // in the order added
};

// ---- Commands on files ----

/// Names in the order added, compared without regard to letter case; of one of them the user sees that it has the
/// focus. Derived classes decide what becomes of a name.
class TVEXAFileList {
public:
    TVEXAFileList() = default;
    TVEXAFileList(const TVEXAFileList&) = delete;
    TVEXAFileList& operator=(const TVEXAFileList&) = delete;
    virtual ~TVEXAFileList() = default;

    /// The index of the new entry; −1 when it is not taken.
    virtual int Add(const QString& file);
    virtual void Clear();
    /// Focuses the entry of that name; none when there is no such entry.
    virtual void MarkFocused(const QString& file);

    int Add(IVEXAString* file) { return Add(FromHostString(file)); }
    void MarkFocused(IVEXAString* file) { MarkFocused(FromHostString(file)); }
    /// Empty when none has the focus.
    QString GetFocused() const { return FFiles.value(FocusIndex); }

    int Count() const noexcept { return static_cast<int>(FFiles.size()); }
    const QString& operator[](int index) const { return FFiles[index]; }
    const QStringList& Files() const noexcept { return FFiles; }
    void Reserve(int count) { FFiles.reserve(count); }

    int FocusIndex = -1;  // −1: none

private:
    QStringList FFiles;
};

/// Makes an object of one class of file list: MakeFileList<TheClass>.
using TVEXAFileListClass = std::unique_ptr<TVEXAFileList> (*)();

template <class FileList>
std::unique_ptr<TVEXAFileList> MakeFileList() {
    return std::make_unique<FileList>();
}

struct IVEXAUIFileBasedMenuItemController : IUnknown {
    static constexpr Guid IID = ParseGuid("{B9FB51EF-0637-45A8-AF38-21C03C818AE7}");

    /// The controller's own list, as of the last refresh.
    virtual TVEXAFileList& GetFiles() noexcept = 0;

protected:
    ~IVEXAUIFileBasedMenuItemController() = default;
};

class TVEXAUICustomFileBasedMenuItemController
    : public Implements<TVEXAUICustomMenuItemController, IVEXAUIFileBasedMenuItemController> {
public:
    TVEXAFileList& GetFiles() noexcept override { return *FFiles; }

protected:
    explicit TVEXAUICustomFileBasedMenuItemController(TVEXAFileListClass fileListClass) : FFiles(fileListClass()) {}

    bool CheckAvailability() final;
    /// Whether the user is where the files are.
    virtual bool IsContextAvailable() { return true; }
    virtual void PopulateFiles(TVEXAFileList& files) = 0;

private:
    std::unique_ptr<TVEXAFileList> FFiles;
};

/// Files selected in the music library's window.
class TVEXAUIMusicLibraryBasedMenuItemController : public TVEXAUICustomFileBasedMenuItemController {
protected:
    using TVEXAUICustomFileBasedMenuItemController::TVEXAUICustomFileBasedMenuItemController;
    void PopulateFiles(TVEXAFileList& files) override;
};

/// Files selected in the playlist that shows.
class TVEXAUIPlaylistBasedMenuItemController : public TVEXAUICustomFileBasedMenuItemController {
protected:
    using TVEXAUICustomFileBasedMenuItemController::TVEXAUICustomFileBasedMenuItemController;
    void PopulateFiles(TVEXAFileList& files) override;
};

}  // namespace vexa
