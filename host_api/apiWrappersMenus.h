#pragma once
// Commands in the host's menus.
//
// A command is an item, TVEXAUICustomMenuItem, registered once under an ID and a parent menu. Several items share a
// controller: each time the host is about to show the menu, the controller determines whether its items apply, collects
// the files that they would act on, and writes each item's glyph and state into the host's menu item.
//
//     const Ref<IVEXAUIMenuItemController> controller = NewObject<TMyController>();
//     NewObject<TMyCommand>(controller)->Register(QStringLiteral("My.Command"), ToVariant(std::int32_t{kMenuLibrary}));
//
// The host keeps an item alive, and the item keeps its controller alive; the controller refers to its items without
// owning them. Main thread. Unless their comments say otherwise, operations throw EHostError with the host's code.

#include "apiWrappers.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace vexa {

/// Thrown when an item is registered already, or its ID is taken.
class EInvalidInsert : public std::runtime_error {
public:
    explicit EInvalidInsert(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class EInvalidOperation : public std::runtime_error {
public:
    explicit EInvalidOperation(const QString& message) : std::runtime_error(message.toStdString()) {}
};

class TVEXAUICustomMenuItem;

/// The controller, as its items use it. OnExecute, which the host calls as the OnShow event, refreshes the items. Only
/// the plug-in uses this interface: unlike the operations of the host's interfaces, its own may throw.
struct IVEXAUIMenuItemController : IVEXAActionEvent {
    using Base = IVEXAActionEvent;
    static constexpr Guid IID = ParseGuid("{3F4AA204-E1BC-4EC9-AC70-3F74F5225604}");

    /// The host item of the first item added gets the OnShow event for all items.
    virtual void AddItem(IVEXAMenuItem& hostItem, TVEXAUICustomMenuItem& item) = 0;
    /// The result of the last refresh; false before the first one.
    virtual bool IsAvailable() noexcept = 0;
    /// Called by an item that is destroyed before its controller; ignores an item that was not added.
    virtual void RemoveItem(TVEXAUICustomMenuItem& item) noexcept = 0;

protected:
    ~IVEXAUIMenuItemController() = default;
};

/// A command, and also the object that the host calls when the user chooses the command. An exception from Execute is
/// logged and shown to the user.
class TVEXAUICustomMenuItem : public Implements<TInterfacedObjectEx, IVEXAActionEvent> {
public:
    enum State : int { Disabled = 0, Enabled = 1, Visible = 2 };

    /// Does nothing when the host has no menus. `parent`: another menu item's ID, the number of a BuiltInMenu, or empty
    /// for an item in no menu. `shortcut` as IVEXAMenuItem::Shortcut has it. Throws EInvalidInsert for an item that is
    /// registered or an ID that is taken, EInvalidOperation for an empty ID.
    void Register(const QString& id, const Variant& parent, const QString& shortcut = {});

    /// The base name of a PNG resource; empty for no glyph. Resources with the suffix 120, 144, 168 or 192 are for that
    /// resolution in DPI.
    virtual QString GetGlyphName() const { return {}; }
    /// One of IVEXAMenuItem::Buttons.
    virtual std::int32_t GetButton() const { return vexa::IVEXAMenuItem::NoButton; }
    /// A set of State bits.
    virtual int GetState();
    /// `data` comes from the host and may be null.
    virtual void Execute(IUnknown* data) = 0;
    /// Writes the item's state into the host's item before that is shown. Derived classes may set more, such as a
    /// caption.
    virtual void UpdateMenuState(IVEXAMenuItem& hostItem);

    /// Empty until Register has succeeded.
    const QString& ID() const noexcept { return FID; }

    void OnExecute(IUnknown* data) noexcept override;

protected:
    explicit TVEXAUICustomMenuItem(Ref<IVEXAUIMenuItemController> controller) : FController(std::move(controller)) {}
    ~TVEXAUICustomMenuItem() override;

    const Ref<IVEXAUIMenuItemController>& Controller() const noexcept { return FController; }
    /// Creates a plain item under `parent`, without a controller.
    static void CreateSubItem(IVEXAMenuItem& parent, const QString& caption, IVEXAActionEvent& handler);

private:
    Ref<IVEXAMenuItem> CreateHostItem(IVEXAServiceMenuManager& menus, const Variant& parent);

    Ref<IVEXAUIMenuItemController> FController;
    QString FID;
};

/// Keeps the appearance of its items up to date. An exception during a refresh is logged, and no item is then
/// available.
class TVEXAUICustomMenuItemController : public Implements<TInterfacedObjectEx, IVEXAUIMenuItemController> {
public:
    void OnExecute(IUnknown* data) noexcept override;
    void AddItem(IVEXAMenuItem& hostItem, TVEXAUICustomMenuItem& item) override;
    bool IsAvailable() noexcept override { return FIsAvailable; }
    void RemoveItem(TVEXAUICustomMenuItem& item) noexcept override;

    /// Determines again whether the items apply, and updates all of them.
    void Refresh() noexcept;

protected:
    virtual bool CheckAvailability() = 0;

private:
    void UpdateItem(TVEXAUICustomMenuItem& item);

    bool FIsAvailable = false;
    std::vector<TVEXAUICustomMenuItem*> FItems;  // in the order added
};

// ---- Commands on files ----

/// File names in the order added, compared without regard to letter case. One of them may have the user's focus.
/// Derived classes decide which names are added, and in which form.
class TVEXAFileList {
public:
    TVEXAFileList() = default;
    TVEXAFileList(const TVEXAFileList&) = delete;
    TVEXAFileList& operator=(const TVEXAFileList&) = delete;
    virtual ~TVEXAFileList() = default;

    /// Returns the index of the new entry; −1 when the name was not added.
    virtual int Add(const QString& file);
    virtual void Clear();
    /// Gives the focus to the entry of that name; to none when there is no such entry.
    virtual void MarkFocused(const QString& file);

    int Add(IVEXAString* file) { return Add(FromHostString(file)); }
    void MarkFocused(IVEXAString* file) { MarkFocused(FromHostString(file)); }
    /// Empty when no entry has the focus.
    QString GetFocused() const { return FFiles.value(FocusIndex); }

    int Count() const noexcept { return static_cast<int>(FFiles.size()); }
    const QString& operator[](int index) const { return FFiles[index]; }
    const QStringList& Files() const noexcept { return FFiles; }
    void Reserve(int count) { FFiles.reserve(count); }

    int FocusIndex = -1;  // −1: none

private:
    QStringList FFiles;
};

/// Creates an object of one class of file lists: MakeFileList<TheClass>.
using TVEXAFileListClass = std::unique_ptr<TVEXAFileList> (*)();

template <class FileList>
std::unique_ptr<TVEXAFileList> MakeFileList() {
    return std::make_unique<FileList>();
}

struct IVEXAUIFileBasedMenuItemController : IUnknown {
    static constexpr Guid IID = ParseGuid("{B9FB51EF-0637-45A8-AF38-21C03C818AE7}");

    /// The controller's list, as of the last refresh.
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
    /// Whether the files come from the window or list that the user works in.
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

/// Files selected in the playlist that is shown.
class TVEXAUIPlaylistBasedMenuItemController : public TVEXAUICustomFileBasedMenuItemController {
protected:
    using TVEXAUICustomFileBasedMenuItemController::TVEXAUICustomFileBasedMenuItemController;
    void PopulateFiles(TVEXAFileList& files) override;
};

}  // namespace vexa
