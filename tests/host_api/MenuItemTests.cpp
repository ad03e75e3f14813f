#include "HostFixture.h"
#include "apiWrappersMenus.h"
#include "apiWrappersUI.h"

namespace {

class Controller final : public TVEXAUICustomFileBasedMenuItemController {
public:
    Controller() : TVEXAUICustomFileBasedMenuItemController(MakeFileList<TVEXAFileList>) {}
    bool IsReadable = true;

protected:
    void PopulateFiles(TVEXAFileList& files) override {
        files.Add(u"a"_s);
        if (!IsReadable) throw std::runtime_error("cannot be read");
    }
};

class Command final : public TVEXAUICustomMenuItem {
public:
    explicit Command(Ref<IVEXAUIMenuItemController> controller) : TVEXAUICustomMenuItem(std::move(controller)) {}
    void Execute(IUnknown*) override { throw std::runtime_error("cannot be done"); }
};

class MenuItems : public HostTest {
protected:
    MenuItems() { TVEXAAPIWrappers::Initialize(&Host.PluginCore()); }
    ~MenuItems() override { TVEXAAPIWrappers::Finalize(); }

    static QString FailureOf(Command& command, const QString& id, const Variant& parent) {
        return ErrorOf([&] { command.Register(id, parent); });
    }

    const Variant Menu = ToVariant(kMenuLibrary);
    const Ref<Controller> SharedController = NewObject<Controller>();
};

TEST_F(MenuItems, AnItemThatCannotBeRegisteredIsReportedAndLeavesNothingBehind) {
    const auto command = NewObject<Command>(SharedController);
    EXPECT_EQ(FailureOf(*command, "", Menu), "Cannot register menu item without ID");
    EXPECT_EQ(FailureOf(*command, "A", ToVariant(0)), QString::number(E_INVALIDARG));
    EXPECT_EQ(FailureOf(*command, "A", ToVariant(u"Nobody"_s)), QString::number(E_FAIL));
    EXPECT_EQ(command->ID(), "");
    EXPECT_EQ(FailureOf(*command, "A", Menu), "");
    EXPECT_EQ(FailureOf(*command, "B", Menu), "The instance is already registered as handler for A menu");
    const auto other = NewObject<Command>(SharedController);
    EXPECT_EQ(FailureOf(*other, "A", Menu), "The A ID is already registered");
    EXPECT_EQ(FailureOf(*other, "B", ToVariant(u"A"_s)), "");
    EXPECT_EQ(Host.Menus().Children(*Host.Menus().Find("A")).size(), 1u);
}

TEST_F(MenuItems, ShowingTheFirstUpdatesAllRemainingOnes) {
    for (const QString& id : {u"A"_s, u"B"_s, u"C"_s}) NewObject<Command>(SharedController)->Register(id, Menu);
    const auto menu = Host.Menus().Children(*Host.Menus().BuiltIn(kMenuLibrary));
    const auto hasOnShow = [](const auto& item) {
        Ref<IVEXAActionEvent> event;
        return Succeeded(item->GetValueAsObject(IVEXAMenuItem::OnShow, IVEXAActionEvent::IID, event.PutVoid()));
    };
    EXPECT_EQ(std::count_if(menu.begin(), menu.end(), hasOnShow), 1);
    EXPECT_TRUE(hasOnShow(menu[0]));
    menu[1]->SetValueAsObject(IVEXAMenuItem::Event, nullptr);  // destroys the command
    for (const bool isReadable : {true, false}) {
        SharedController->IsReadable = isReadable;
        Host.Menus().PrepareToShow(*Host.Menus().BuiltIn(kMenuLibrary));
        EXPECT_EQ(Host.Menus().IsVisible(*menu[2]) && Host.Menus().IsEnabled(*menu[2]), isReadable);
        EXPECT_EQ(SharedController->GetFiles().Count(), isReadable ? 1 : 0);     // all or none
        EXPECT_EQ(Host.Menus().Trigger(*menu[2]), isReadable ? S_OK : E_ABORT);  // an exception does not reach the host
    }
}

TEST_F(MenuItems, AnEventHandlerOffersWhatItsMasterOffers) {
    const auto offered = [](const Ref<IUnknown>& master) {
        const auto handler = NewObject<TVEXAUINotifyEventAdapter>(TVEXAUINotifyEvent(), master);
        return Query<IVEXAUIMenuItemController>(static_cast<IVEXAActionEvent*>(handler.Get()));
    };
    const Ref<IVEXAUIMenuItemController> controller(SharedController);
    EXPECT_EQ(offered(Ref<IUnknown>(controller.Get())), controller);
    EXPECT_FALSE(offered(nullptr)) << "there is no master";
}

}  // namespace
