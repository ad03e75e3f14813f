#pragma once
// A host with menus, by ID and nothing more.

#include "HostFixture.h"
#include "PropertyList.h"
#include "VEXA.SDK.Images.h"
#include "VEXA.SDK.Menus.h"

namespace tests {

class MenuItem final : public host::PropertyList<IVEXAMenuItem, IVEXADPIAware> {
public:
    HResult DeleteChildren() noexcept override { return OnDeleteChildren(), S_OK; }
    std::int32_t GetDPI() noexcept override { return DPI; }
    HResult SetDPI(std::int32_t) noexcept override { return E_NOTIMPL; }

    template <class Interface>
    Ref<Interface> Object(std::int32_t id) {
        Ref<Interface> object;
        return Succeeded(GetValueAsObject(id, Interface::IID, object.PutVoid())) ? object : Ref<Interface>();
    }
    bool IsUnder(IVEXAMenuItem* parent) { return Object<IVEXAMenuItem>(Parent).Get() == parent; }
    /// "visible", "hidden", or what else it says.
    QString State() const {
        const QString state = Text(Enabled) + Text(Visible);
        return state == u"11" ? u"visible"_s : state == u"00" ? u"hidden"_s : state;
    }
    void Run(std::int32_t event = Event) {
        if (const auto handler = Object<IVEXAActionEvent>(event)) handler->OnExecute(nullptr);
    }

    int DPI = 96;
    std::function<void()> OnDeleteChildren;  // the menus' business, which alone know who is under whom
};

class Menus final : public RefCountedObject<IVEXAServiceMenuManager>, public host::ExtensionTarget {
public:
    HResult AddExtension(IUnknown* extension) override {
        const Ref<MenuItem> item(ItemOf(extension));
        item->OnDeleteChildren = [this, parent = item.Get()] {
            std::erase_if(Items, [&](const Ref<MenuItem>& child) { return child->IsUnder(parent); });
        };
        Items.push_back(item);
        return S_OK;
    }
    void RemoveExtension(IUnknown* extension) override { std::erase(Items, Ref<MenuItem>(ItemOf(extension))); }
    HResult GetByID(IVEXAString* id, IVEXAMenuItem** item) noexcept override {
        const Ref<MenuItem> found = Find(host::ToQString(id));
        *item = Ref<IVEXAMenuItem>(found).Detach();
        return found ? S_OK : E_FAIL;
    }
    HResult GetBuiltIn(std::int32_t menu, IVEXAMenuItem** item) noexcept override {
        *item = nullptr;
        if (menu <= 0) return E_INVALIDARG;
        *item = Ref<IVEXAMenuItem>(BuiltIn).Detach();
        return S_OK;
    }

    Ref<MenuItem> Find(const QString& id) const {
        for (const auto& item : Items)
            if (item->Text(IVEXAMenuItem::ID) == id) return item;
        return {};
    }

    std::vector<Ref<MenuItem>> Items;  // in the order registered
    const Ref<MenuItem> BuiltIn{new MenuItem};

private:
    static MenuItem* ItemOf(IUnknown* extension) {
        return static_cast<MenuItem*>(Query<IVEXAMenuItem>(extension).Get());
    }
};

}  // namespace tests
