#include "Menus.h"

#include "Guarded.h"
#include "Properties.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace vexa::host {

namespace {

constexpr PropertyRule kRules[] = {
    {IVEXAMenuItem::ID},
    {IVEXAMenuItem::Caption},
    {IVEXAMenuItem::Enabled},
    {IVEXAMenuItem::Event, &IVEXAActionEvent::IID},
    {IVEXAMenuItem::OnShow, &IVEXAActionEvent::IID},
    {IVEXAMenuItem::Shortcut},
    {IVEXAMenuItem::Glyph, &IVEXAImage::IID},
    {IVEXAMenuItem::Parent, &IVEXAMenuItem::IID},
    {IVEXAMenuItem::Visible},
    {IVEXAMenuItem::Button},
};

// Plug-ins can make items each other's parents in a circle; no real menu is this deep.
constexpr int kMaxDepth = 16;

template <class Interface>
Ref<Interface> ObjectOf(IVEXAMenuItem& item, IVEXAMenuItem::Property property) {
    Ref<Interface> object;
    item.GetValueAsObject(property, Interface::IID, object.PutVoid());
    return object;
}

bool IsSet(IVEXAMenuItem& item, IVEXAMenuItem::Property property) {
    return NumberOf(&item, property, 1) != 0;
}

}  // namespace

MenuItem::MenuItem() : PropertyList(kRules) {
    Set(Enabled, std::int32_t{1});
    Set(Visible, std::int32_t{1});
}

HResult MenuItem::DeleteChildren() noexcept {
    return Guarded("taking menu items away", [this] {
        if (FManager) FManager->DeleteChildren(*this);
        return S_OK;
    });
}

HResult MenuItem::SetDPI(std::int32_t dpi) noexcept {
    if (dpi <= 0) return E_INVALIDARG;
    FDPI = dpi;
    return S_OK;
}

MenuManager::MenuManager(Core& core, Ref<LanguageService> language) : FCore(core), FLanguage(std::move(language)) {
    for (const std::int32_t number : {kMenuPlaylistItem, kMenuLibrary, kMenuLibraryTable, kMenuLibraryTree}) {
        FMenus.push_back({number, Ref<MenuItem>(new MenuItem)});
        FMenus.back().Item->FManager = this;
    }
}

MenuManager::~MenuManager() {
    for (const Menu& menu : FMenus) menu.Item->FManager = nullptr;
    while (!FItems.empty()) Unregister(*FItems.back());
}

MenuManager::Item MenuManager::BuiltIn(std::int32_t menu) const {
    for (const Menu& known : FMenus)
        if (known.Number == menu) return known.Item;
    return {};
}

MenuManager::Item MenuManager::Find(const QString& id) const {
    if (id.isEmpty()) return {};
    for (const Item& item : FItems)
        if (ID(*item) == id) return item;
    return {};
}

std::vector<MenuManager::Item> MenuManager::Children(IVEXAMenuItem& parent) const {
    std::vector<Item> children;
    for (const Item& item : FItems)
        if (const Item above = Parent(*item); above && IsSameObject(above.Get(), &parent)) children.push_back(item);
    return children;
}

QString MenuManager::ID(IVEXAMenuItem& item) const {
    return TextOf(&item, IVEXAMenuItem::ID);
}

QString MenuManager::Caption(IVEXAMenuItem& item) const {
    const QString own = TextOf(&item, IVEXAMenuItem::Caption);
    const QString id = ID(item);
    return own.isEmpty() && !id.isEmpty() ? FLanguage->Text(u"Actions\\" + id) : own;
}

bool MenuManager::IsEnabled(IVEXAMenuItem& item) const {
    return IsSet(item, IVEXAMenuItem::Enabled);
}

bool MenuManager::IsVisible(IVEXAMenuItem& item) const {
    return IsSet(item, IVEXAMenuItem::Visible);
}

QList<QKeySequence> MenuManager::Shortcuts(IVEXAMenuItem& item) const {
    const QString text = TextOf(&item, IVEXAMenuItem::Shortcut);
    return text.isEmpty() ? QList<QKeySequence>() : QKeySequence::listFromString(text, QKeySequence::PortableText);
}

std::vector<MenuManager::Item> MenuManager::ItemsWithShortcuts() const {
    std::vector<Item> items;
    for (const Item& item : FItems)
        if (!Shortcuts(*item).isEmpty()) items.push_back(item);
    return items;
}

MenuManager::Item MenuManager::WithButton(IVEXAMenuItem::Buttons button) const {
    const auto found = std::find_if(FItems.begin(), FItems.end(), [&](const Item& item) {
        const auto menu = MenuOf(*item);
        return NumberOf(item.Get(), IVEXAMenuItem::Button) == button && (!menu || menu != kMenuPlaylistItem);
    });
    return found == FItems.end() ? Item() : *found;
}

Ref<IVEXAImage> MenuManager::Glyph(IVEXAMenuItem& item) const {
    return ObjectOf<IVEXAImage>(item, IVEXAMenuItem::Glyph);
}

bool MenuManager::HasEvent(IVEXAMenuItem& item) const {
    return static_cast<bool>(ObjectOf<IVEXAActionEvent>(item, IVEXAMenuItem::Event));
}

MenuManager::Item MenuManager::Parent(IVEXAMenuItem& item) const {
    return ObjectOf<IVEXAMenuItem>(item, IVEXAMenuItem::Parent);
}

bool MenuManager::Has(IVEXAMenuItem& item) const {
    return std::any_of(FItems.begin(), FItems.end(),
                       [&](const Item& known) { return IsSameObject(known.Get(), &item); });
}

void MenuManager::PrepareToShow(IVEXAMenuItem& menu, std::int32_t dpi) {
    VEXA_ASSERT_MAIN_THREAD();
    // All items, because an item's event may also change items of other menus.
    for (const Item& item : FItems)
        if (const auto aware = Query<IVEXADPIAware>(item.Get())) aware->SetDPI(dpi);
    Prepare(menu, 0);
}

void MenuManager::Prepare(IVEXAMenuItem& menu, int depth) {
    if (depth > kMaxDepth) return;
    for (const Item& item : Children(menu))
        if (const auto event = ObjectOf<IVEXAActionEvent>(*item, IVEXAMenuItem::OnShow)) event->OnExecute(item.Get());
    for (const Item& item : Children(menu)) Prepare(*item, depth + 1);  // listed anew: events may have added children
}

HResult MenuManager::Trigger(IVEXAMenuItem& item) {
    VEXA_ASSERT_MAIN_THREAD();
    Item shown(&item);
    for (int depth = 0; shown && depth <= kMaxDepth; ++depth, shown = Parent(*shown))
        if (!IsVisible(*shown) || !IsEnabled(*shown)) return E_ABORT;
    const auto event = ObjectOf<IVEXAActionEvent>(item, IVEXAMenuItem::Event);
    if (!event) return E_NOTIMPL;
    const Item alive(&item);  // the command may remove its own item
    event->OnExecute(alive.Get());
    return S_OK;
}

MenuManager::Item MenuManager::RootOf(IVEXAMenuItem& item) const {
    Item root(&item);
    for (int depth = 0; depth <= kMaxDepth; ++depth)
        if (const Item above = Parent(*root)) root = above;
    return root;
}

std::optional<BuiltInMenu> MenuManager::MenuOf(IVEXAMenuItem& item) const {
    const Item root = RootOf(item);
    for (const Menu& menu : FMenus)
        if (IsSameObject(static_cast<IVEXAMenuItem*>(menu.Item.Get()), root.Get()))
            return static_cast<BuiltInMenu>(menu.Number);
    return std::nullopt;
}

void MenuManager::PrepareAround(IVEXAMenuItem& item) {
    const Item root = RootOf(item);
    if (!IsSameObject(root.Get(), &item)) return PrepareToShow(*root);
    // Items that share a controller give only the first of them the event.
    for (const auto items = FItems; const Item& other : items)
        if (const auto event = ObjectOf<IVEXAActionEvent>(*other, IVEXAMenuItem::OnShow); event && !Parent(*other))
            event->OnExecute(other.Get());
}

HResult MenuManager::Run(IVEXAMenuItem& item) {
    VEXA_ASSERT_MAIN_THREAD();
    const Item alive(&item);
    PrepareAround(item);
    return Has(item) ? Trigger(item) : E_FAIL;
}

bool MenuManager::RunShortcut(const QKeySequence& keys, std::optional<BuiltInMenu> except) {
    VEXA_ASSERT_MAIN_THREAD();
    if (keys.isEmpty()) return false;
    for (const Item& item : ItemsWithShortcuts())
        if (Has(*item) && Shortcuts(*item).contains(keys) && (!except || MenuOf(*item) != except) &&
            Succeeded(Run(*item)))
            return true;
    return false;
}

void MenuManager::DeleteChildren(IVEXAMenuItem& parent) {
    VEXA_ASSERT_MAIN_THREAD();
    for (const Item& item : Children(parent)) {
        if (!Has(*item)) continue;
        Unregister(*item);  // before the items below it, so that the recursion ends even in a circle
        DeleteChildren(*item);
        FCore.ForgetExtension(this, item.Get());
    }
}

void MenuManager::Unregister(IVEXAMenuItem& item) {
    if (auto* own = dynamic_cast<MenuItem*>(&item)) own->FManager = nullptr;
    const Item alive(&item);
    std::erase_if(FItems, [&](const Item& known) { return IsSameObject(known.Get(), alive.Get()); });
}

HResult MenuManager::AddExtension(IUnknown* extension) {
    VEXA_ASSERT_MAIN_THREAD();
    const Item item = Query<IVEXAMenuItem>(extension);
    if (!item || Has(*item) || Find(ID(*item))) return E_INVALIDARG;
    FItems.push_back(item);
    if (auto* own = dynamic_cast<MenuItem*>(item.Get())) own->FManager = this;
    return S_OK;
}

void MenuManager::RemoveExtension(IUnknown* extension) {
    VEXA_ASSERT_MAIN_THREAD();
    const Item item = Query<IVEXAMenuItem>(extension);
    if (!item) return;
    Unregister(*item);
    // So that a menu that still shows the item cannot reach the plug-in any more.
    for (const auto property : {IVEXAMenuItem::Event, IVEXAMenuItem::OnShow, IVEXAMenuItem::Parent})
        item->SetValueAsObject(property, nullptr);
}

HResult MenuManager::GetByID(IVEXAString* id, IVEXAMenuItem** item) noexcept {
    if (!item) return E_POINTER;
    *item = nullptr;
    return Guarded("finding a menu item", [&] {
        *item = Find(ToQString(id)).Detach();
        return *item ? S_OK : E_FAIL;
    });
}

HResult MenuManager::GetBuiltIn(std::int32_t menu, IVEXAMenuItem** item) noexcept {
    if (!item) return E_POINTER;
    *item = BuiltIn(menu).Detach();
    return *item ? S_OK : E_INVALIDARG;
}

}  // namespace vexa::host
