#include "apiWrappersMenus.h"

#include "apiWrappersUI.h"

#include <algorithm>

namespace vexa {

namespace {

constexpr int kPlainDPI = 96;
constexpr int kGlyphDPIs[] = {120, 144, 168, 192};
const QString kGlyphType = QStringLiteral("PNG");

/// The resource with the highest resolution that is not above `dpi`.
QString GlyphResource(const QString& name, int dpi) {
    QString result = name;
    for (const int glyphDPI : kGlyphDPIs) {
        const QString candidate = name + QString::number(glyphDPI);
        if (glyphDPI <= dpi && TVEXAStreamAdapter::ResourceExists(candidate, kGlyphType)) result = candidate;
    }
    return result;
}

/// Sets the item's glyph. Failures are ignored, since an item without a glyph still shows its caption.
void ApplyGlyph(const TVEXAUICustomMenuItem& item, IVEXAMenuItem& hostItem) {
    try {
        QString name = item.GetGlyphName();
        if (name.isEmpty()) return;
        const auto image = CreateHostObject<IVEXAImage>();
        const auto itemDPI = Query<IVEXADPIAware>(&hostItem);
        const auto imageDPI = Query<IVEXADPIAware>(image.Get());
        if (itemDPI && imageDPI) {
            imageDPI->SetDPI(itemDPI->GetDPI());
            if (const int dpi = imageDPI->GetDPI(); dpi > kPlainDPI) name = GlyphResource(name, dpi);
        }
        RaiseIfFailed(image->LoadFromStream(TVEXAStreamAdapter::CreateFromResource(name, kGlyphType).Get()));
        hostItem.SetValueAsObject(IVEXAMenuItem::Glyph, image.Get());
    } catch (...) {
    }
}

void RegisterHostItem(IVEXAMenuItem& hostItem) {
    HostCore()->RegisterExtension(IVEXAServiceMenuManager::IID, &hostItem);
}

}  // namespace

// ---- TVEXAUICustomMenuItem ----

TVEXAUICustomMenuItem::~TVEXAUICustomMenuItem() {
    if (FController) FController->RemoveItem(*this);
}

void TVEXAUICustomMenuItem::Register(const QString& id, const Variant& parent, const QString& shortcut) {
    const auto menus = HostService<IVEXAServiceMenuManager>();
    if (!menus) return;
    if (!FID.isEmpty()) throw EInvalidInsert(u"The instance is already registered as handler for " + FID + u" menu");
    if (id.isEmpty()) throw EInvalidOperation(QStringLiteral("Cannot register menu item without ID"));
    Ref<IVEXAMenuItem> existing;
    if (Succeeded(menus->GetByID(ToHostString(id).Get(), existing.Put())) && existing)
        throw EInvalidInsert(u"The " + id + u" ID is already registered");
    FID = id;
    try {
        const auto hostItem = CreateHostItem(*menus, parent);
        if (!shortcut.isEmpty()) WritePropertyString(hostItem.Get(), IVEXAMenuItem::Shortcut, shortcut);
        RegisterHostItem(*hostItem);
    } catch (...) {
        // Undo the registration: the controller, which does not own its items, must not keep a pointer to this one.
        FID.clear();
        if (FController) FController->RemoveItem(*this);
        throw;
    }
}

Ref<IVEXAMenuItem> TVEXAUICustomMenuItem::CreateHostItem(IVEXAServiceMenuManager& menus, const Variant& parent) {
    Ref<IVEXAMenuItem> parentItem;
    if (parent.Type == VariantType::Text)
        RaiseIfFailed(menus.GetByID(parent.Text.Get(), parentItem.Put()));
    else if (parent.Type != VariantType::Empty)
        RaiseIfFailed(menus.GetBuiltIn(VariantToInt32(parent), parentItem.Put()));
    auto hostItem = CreateHostObject<IVEXAMenuItem>();
    if (FController) FController->AddItem(*hostItem, *this);
    WritePropertyString(hostItem.Get(), IVEXAMenuItem::ID, FID);
    WritePropertyObject(hostItem.Get(), IVEXAMenuItem::Event, static_cast<IVEXAActionEvent*>(this));
    if (parentItem) WritePropertyObject(hostItem.Get(), IVEXAMenuItem::Parent, parentItem.Get());
    // A host that does not know the property has the command in its menus only.
    if (const std::int32_t button = GetButton()) hostItem->SetValueAsInt32(IVEXAMenuItem::Button, button);
    return hostItem;
}

void TVEXAUICustomMenuItem::CreateSubItem(IVEXAMenuItem& parent, const QString& caption, IVEXAActionEvent& handler) {
    const auto hostItem = CreateHostObject<IVEXAMenuItem>();
    WritePropertyString(hostItem.Get(), IVEXAMenuItem::Caption, caption);
    WritePropertyObject(hostItem.Get(), IVEXAMenuItem::Parent, &parent);
    WritePropertyObject(hostItem.Get(), IVEXAMenuItem::Event, &handler);
    RegisterHostItem(*hostItem);
}

int TVEXAUICustomMenuItem::GetState() {
    return FController->IsAvailable() ? Enabled | Visible : Disabled;
}

void TVEXAUICustomMenuItem::UpdateMenuState(IVEXAMenuItem& hostItem) {
    const int state = GetState();
    WritePropertyInt32(&hostItem, IVEXAMenuItem::Enabled, state & Enabled ? 1 : 0);
    WritePropertyInt32(&hostItem, IVEXAMenuItem::Visible, state & Visible ? 1 : 0);
}

void TVEXAUICustomMenuItem::OnExecute(IUnknown* data) noexcept {
    // While a command shows a dialog, the host may remove this item from its menu.
    const Ref<TVEXAUICustomMenuItem> self(this);
    try {
        Execute(data);
    } catch (...) {
        ShowCaughtException("a menu command");
    }
}

// ---- TVEXAUICustomMenuItemController ----

void TVEXAUICustomMenuItemController::AddItem(IVEXAMenuItem& hostItem, TVEXAUICustomMenuItem& item) {
    FItems.push_back(&item);
    if (FItems.size() == 1)
        WritePropertyObject(&hostItem, IVEXAMenuItem::OnShow, static_cast<IVEXAUIMenuItemController*>(this));
}

void TVEXAUICustomMenuItemController::RemoveItem(TVEXAUICustomMenuItem& item) noexcept {
    // An item that was never added may be destroyed while the others are being updated; these must keep their places.
    if (const auto found = std::find(FItems.begin(), FItems.end(), &item); found != FItems.end()) FItems.erase(found);
}

void TVEXAUICustomMenuItemController::OnExecute(IUnknown*) noexcept {
    Refresh();
}

void TVEXAUICustomMenuItemController::Refresh() noexcept {
    FIsAvailable = false;
    GuardedCall("looking at what is selected", [this] { FIsAvailable = CheckAvailability(); });
    // If updating one item fails, the others are still updated.
    for (TVEXAUICustomMenuItem* item : FItems) GuardedCall("updating a menu item", [&] { UpdateItem(*item); });
}

void TVEXAUICustomMenuItemController::UpdateItem(TVEXAUICustomMenuItem& item) {
    const auto menus = HostService<IVEXAServiceMenuManager>();
    if (item.ID().isEmpty() || !menus) return;
    Ref<IVEXAMenuItem> hostItem;
    if (Failed(menus->GetByID(ToHostString(item.ID()).Get(), hostItem.Put())) || !hostItem) return;
    ApplyGlyph(item, *hostItem);
    item.UpdateMenuState(*hostItem);
}

// ---- Commands on files ----

int TVEXAFileList::Add(const QString& file) {
    FFiles += file;
    return Count() - 1;
}

void TVEXAFileList::Clear() {
    FFiles.clear();
    FocusIndex = -1;
}

void TVEXAFileList::MarkFocused(const QString& file) {
    const auto found = std::find_if(FFiles.cbegin(), FFiles.cend(), [&](const QString& entry) {
        return entry.compare(file, Qt::CaseInsensitive) == 0;
    });
    FocusIndex = found != FFiles.cend() ? static_cast<int>(found - FFiles.cbegin()) : -1;
}

bool TVEXAUICustomFileBasedMenuItemController::CheckAvailability() {
    FFiles->Clear();
    if (!IsContextAvailable()) return false;
    try {
        PopulateFiles(*FFiles);
    } catch (...) {
        FFiles->Clear();  // a command must not act on only some of the files
        throw;
    }
    return true;
}

namespace {

void AddFiles(IVEXAObjectList* list, TVEXAFileList& files) {
    if (!list) return;
    const std::int32_t count = list->GetCount();
    files.Reserve(count);
    for (std::int32_t i = 0; i < count; ++i) {
        Ref<IVEXAString> file;
        if (Succeeded(list->GetObject(i, IVEXAString::IID, file.PutVoid()))) files.Add(file.Get());
    }
}

/// The item that has the focus, or the first item of the group that has it.
Ref<IVEXAPlaylistItem> FocusedItem(IVEXAPlaylist& playlist) {
    Ref<IVEXAPlaylistItem> item;
    Ref<IVEXAPlaylistGroup> group;
    const auto properties = Query<IVEXAPropertyList>(&playlist);
    if (!properties) return {};
    const auto get = [&](const Guid& iid, void** object) {
        return Succeeded(properties->GetValueAsObject(IVEXAPlaylist::FocusObject, iid, object));
    };
    if (!get(IVEXAPlaylistItem::IID, item.PutVoid()) && get(IVEXAPlaylistGroup::IID, group.PutVoid()))
        group->GetItem(0, IVEXAPlaylistItem::IID, item.PutVoid());
    return item;
}

}  // namespace

void TVEXAUIMusicLibraryBasedMenuItemController::PopulateFiles(TVEXAFileList& files) {
    const auto library = HostService<IVEXAServiceMusicLibraryUI>();
    Ref<IVEXAObjectList> list;
    if (!library || Failed(library->GetFiles(kFilesSelected, list.Put()))) return;
    AddFiles(list.Get(), files);
    Ref<IVEXAString> focused;
    if (Succeeded(library->GetFiles(kFilesFocused, list.Put())) && list && list->GetCount() > 0 &&
        Succeeded(list->GetObject(0, IVEXAString::IID, focused.PutVoid())))
        files.MarkFocused(focused.Get());
}

void TVEXAUIPlaylistBasedMenuItemController::PopulateFiles(TVEXAFileList& files) {
    const auto manager = HostService<IVEXAServicePlaylistManager>();
    Ref<IVEXAPlaylist> playlist;
    Ref<IVEXAObjectList> list;
    if (!manager || Failed(manager->GetActivePlaylist(playlist.Put())) || !playlist ||
        Failed(playlist->GetFiles(kFilesSelected, list.Put())))
        return;
    AddFiles(list.Get(), files);
    const auto item = FocusedItem(*playlist);
    Ref<IVEXAString> focused;
    if (ReadPropertyInt32(item.Get(), IVEXAPlaylistItem::Selected) != 0 &&
        Succeeded(item->GetValueAsObject(IVEXAPlaylistItem::FileName, IVEXAString::IID, focused.PutVoid())))
        files.MarkFocused(focused.Get());
}

}  // namespace vexa
