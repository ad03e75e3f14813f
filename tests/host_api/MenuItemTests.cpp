#include "MenuHost.h"
#include "apiWrappersMenus.h"

namespace tests {
namespace {

class Controller final : public TVEXAUICustomFileBasedMenuItemController {
public:
    Controller() : TVEXAUICustomFileBasedMenuItemController(MakeFileList<TVEXAFileList>) {}
    std::function<bool(TVEXAFileList&)> Populate = [](TVEXAFileList&) { return true; };

protected:
    void PopulateFiles(TVEXAFileList& files) override {
        if (!Populate(files)) throw std::runtime_error("cannot be read");
    }
};

class Command final : public TVEXAUICustomMenuItem {
public:
    explicit Command(Ref<IVEXAUIMenuItemController> controller) : TVEXAUICustomMenuItem(std::move(controller)) {}
    void Execute(IUnknown*) override { throw std::runtime_error("cannot be done"); }
};

class MenuItems : public HostTest {
protected:
    MenuItems() {
        Host.TheCore().AddService<IVEXAServiceMenuManager>(u"menus"_s, Menus, Menus.Get());
        Host.TheCore().AddFactory<IVEXAMenuItem, MenuItem>();
        TVEXAAPIWrappers::Initialize(&Host.TheCore());
    }
    ~MenuItems() override { TVEXAAPIWrappers::Finalize(); }

    static QString FailureOf(Command& command, const QString& id, const Variant& parent) {
        try {
            command.Register(id, parent);
        } catch (const std::exception& error) {
            return QString::fromUtf8(error.what());
        }
        return {};
    }

    const Ref<tests::Menus> Menus{new tests::Menus};
    const Ref<Controller> TheController = NewObject<Controller>();
};

TEST_F(MenuItems, WhatCannotBeRegisteredIsSaidSoAndLeavesNothingBehind) {
    const auto command = NewObject<Command>(TheController);
    EXPECT_EQ(FailureOf(*command, "", ToVariant(1)), "Cannot register menu item without ID");
    EXPECT_EQ(FailureOf(*command, "A", ToVariant(0)), QString::number(E_INVALIDARG));
    EXPECT_EQ(FailureOf(*command, "A", ToVariant(u"Nobody"_s)), QString::number(E_FAIL));
    EXPECT_EQ(command->ID(), "");
    EXPECT_EQ(FailureOf(*command, "A", ToVariant(1)), "");
    EXPECT_EQ(FailureOf(*command, "B", ToVariant(1)), "The instance is already registered as handler for A menu");
    const auto other = NewObject<Command>(TheController);
    EXPECT_EQ(FailureOf(*other, "A", ToVariant(1)), "The A ID is already registered");
    EXPECT_EQ(FailureOf(*other, "B", ToVariant(u"A"_s)), "");
    EXPECT_TRUE(Menus->Find("B")->IsUnder(Menus->Find("A").Get()));
    EXPECT_EQ(Menus->Items.size(), 2u);
}

TEST_F(MenuItems, ShowingTheFirstUpdatesAllThatAreLeft) {
    for (const QString& id : {u"A"_s, u"B"_s, u"C"_s}) NewObject<Command>(TheController)->Register(id, ToVariant(1));
    EXPECT_TRUE(Menus->Find("A")->Object<IVEXAActionEvent>(IVEXAMenuItem::OnShow));
    EXPECT_FALSE(Menus->Find("B")->Object<IVEXAActionEvent>(IVEXAMenuItem::OnShow));
    Menus->Find("B")->SetValueAsObject(IVEXAMenuItem::Event, nullptr);  // which ends the command
    const auto show = [&]() -> QString {
        Menus->Find("A")->Run(IVEXAMenuItem::OnShow);
        return Menus->Find("A")->State() + u' ' + Menus->Find("C")->State();
    };
    EXPECT_EQ(show(), "visible visible");
    EXPECT_FALSE(Menus->Find("A")->Object<IVEXAImage>(IVEXAMenuItem::Glyph));
    TheController->Populate = [](TVEXAFileList& files) { return files.Add(u"a"_s) < 0; };  // half-way
    EXPECT_EQ(show(), "hidden hidden");
    EXPECT_EQ(TheController->GetFiles().Count(), 0);
    Menus->Find("A")->Run();  // what it throws stays inside
}

}  // namespace
}  // namespace tests
