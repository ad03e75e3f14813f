// The plug-in's promises to any host: results for missing arguments, rows and filters at their limits, and unloading at
// any moment.

#include "Feeds.h"
#include "FileInfo.h"
#include "Filters.h"
#include "HostFixture.h"
#include "LoopbackServer.h"
#include "ObjectList.h"
#include "Tree.h"

namespace tests {
namespace {

/// A wrapper of the host's core that records the registered extensions.
class Core final : public RefCountedObject<IVEXACore, IVEXASdkVersion> {
public:
    explicit Core(IVEXACore& core, std::int32_t sdk = kSdkMajor) : FCore(&core), FSdk(sdk) {}

    template <class Interface>
    Ref<Interface> Registered() const {
        for (const auto& extension : FExtensions)
            if (const auto offered = Query<Interface>(extension.Get())) return offered;
        return nullptr;
    }

    HResult QueryInterface(const Guid& iid, void** object) noexcept override {
        if (iid == IVEXASdkVersion::IID) return RefCountedObject::QueryInterface(iid, object);
        return FCore->QueryInterface(iid, object);
    }
    HResult GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept override {
        *major = FSdk;
        *minor = kSdkMinor + 1;
        return S_OK;
    }
    HResult CreateObject(const Guid& iid, void** object) noexcept override { return FCore->CreateObject(iid, object); }
    HResult GetPath(std::int32_t kind, IVEXAString** path) noexcept override { return FCore->GetPath(kind, path); }
    HResult RegisterExtension(const Guid& service, IUnknown* extension) noexcept override {
        FExtensions.insert(FExtensions.begin(), extension);
        return FCore->RegisterExtension(service, extension);
    }

private:
    const Ref<IVEXACore> FCore;
    const std::int32_t FSdk;
    std::vector<Ref<IUnknown>> FExtensions;  // newest first
};

class Contract : public HostTest, public host::MusicLibraryListener {
protected:
    Contract() {
        podcasts::TPodcastFeed feed = MakeFeed(Server.Url("/stored"), 3);
        for (const auto& episode : feed.Episodes()) episode->Duration = static_cast<float>(kLong);
        podcasts::TPodcastsDB(Profile.File("Podcasts.db")).AddOrUpdate(feed);
        Host.Library().AddListener(this);
        EXPECT_EQ(Plugin.Object()->Initialize(RecordingCore.Get()), S_OK);
        Storage = RecordingCore->Registered<IVEXAMLExtensionDataStorage>();
    }
    ~Contract() override {
        Host.Library().RemoveListener(this);
        Plugin.Object()->Finalize();
        RecordingCore->AddRef();
        EXPECT_EQ(RecordingCore->Release(), 1) << "the plug-in has ended and keeps the host's core";
    }
    void OnDataChanged(const QString&) override { Call("Changed"); }
    void OnTasksChanged(const QString& id) override {
        Call(Host.Library().Tasks(id).empty() ? "BackgroundTaskFinished" : "BackgroundTaskStarted");
    }
    /// Finalises the plug-in if `operation`, which is being called by it, is the one in EndsIn.
    void Call(const std::string& operation) {
        if (HasReturned && operation == "Changed") ++LateChanges;
        if (operation != EndsIn) return;
        EndsIn.clear();
        Plugin.Object()->Finalize();
        const auto address = host::MakeString("podcast://h/1.mp3");
        const Ref<IVEXAFileInfo> info(new host::FileInfo);
        EXPECT_EQ(Of<IVEXAExtensionFileInfoProvider>()->QueryFileInfo(address.Get(), info.Get()), E_FAIL)
            << "it still answers the host's threads";
        HasReturned = true;
    }
    /// An interface of the storage, or of the plug-in's other extensions.
    template <class Interface>
    Ref<Interface> Of() {
        auto offered = Query<Interface>(Storage.Get());
        if (!offered) offered = RecordingCore->Registered<Interface>();
        EXPECT_TRUE(offered);
        return offered;
    }
    static void Add(IVEXAMLGroupFilter& group, const char* field, const QString& text = "1", int operation = 0) {
        const Variant value = host::ToVariant(host::PropertyValue(text));
        EXPECT_EQ(group.Add(host::MakeString(field).Get(), &value, nullptr, operation, nullptr), S_OK);
    }
    HResult Rows(IVEXAMLDataFilter& filter, const QStringList& fields, Ref<IVEXAMLDataProviderSelection>& rows) {
        Ref<IUnknown> data;
        const HResult result =
            Of<IVEXAMLDataProvider>()->GetData(host::MakeStringList(fields).Get(), &filter, data.Put());
        rows = Query<IVEXAMLDataProviderSelection>(data.Get());
        return result;
    }

    LoopbackServer Server;
    const host::Plugin Plugin{QStringLiteral(PLUGIN)};
    const Ref<Core> RecordingCore{new Core(Host.PluginCore())};
    Ref<IVEXAMLExtensionDataStorage> Storage;
    static constexpr std::int64_t kLong = std::int64_t{1} << 33;  // the duration of each episode, s
    std::string EndsIn;
    bool HasReturned = false;
    int LateChanges = 0;
};

TEST_F(Contract, AMissingPointerGivesAnError) {
    const auto library = Of<IVEXAMLDataProvider>();
    const auto subscriptions = Of<IVEXAMLSubscriptionStorage>();
    const auto start = Of<IVEXAMLStartOptions>();
    const auto properties = Of<IVEXAPropertyList2>();
    const auto art = Of<IVEXAMLAlbumArtProvider>();
    const auto find = Of<IVEXAMLDataStorageCommandFindInLibrary>();
    const auto infos = Of<IVEXAExtensionFileInfoProvider>();
    const auto tree = host::LibraryStorage(Host.Library()).Presets().at(0).Provider;

    const Ref<IVEXAMLDataFilter> filter(new host::DataFilter);
    const Ref<IVEXAMLGroupingTreeSelection> root(new host::TreeSelection);
    const auto fields = host::MakeStringList({"FileName"});
    const auto address = host::MakeString("podcast://h/1.mp3");
    const Ref<IVEXAFileInfo> info(new host::FileInfo);
    const Variant value{};
    std::int64_t count = 0;
    std::int32_t length = 0;
    Ref<IUnknown> data;
    Ref<IVEXAImageContainer> image;
    Ref<IVEXAMLDataFilter> found;
    Ref<IVEXAMLGroupingTreeSelection> path;
    Ref<IVEXAMLGroupingTreeDataProviderSelection> nodes;
    Ref<IVEXAString> text;
    ASSERT_EQ(tree->ListChildren(root.Get(), nodes.Put()), S_OK);
    Ref<IVEXAMLDataProviderSelection> rows;
    ASSERT_EQ(Rows(*filter, {"Title"}, rows), S_OK);

    const std::pair<const char*, HResult> answers[] = {
        {"GetData without data", library->GetData(fields.Get(), filter.Get(), nullptr)},
        {"GetData without a filter", library->GetData(fields.Get(), nullptr, data.Put())},
        {"GetData without fields", library->GetData(nullptr, filter.Get(), data.Put())},
        {"GetRowCount without a count", subscriptions->GetRowCount(fields.Get(), filter.Get(), nullptr)},
        {"GetRowCount without a filter", subscriptions->GetRowCount(fields.Get(), nullptr, &count)},
        {"Subscribe without addresses", subscriptions->Subscribe(nullptr, nullptr)},
        {"GetOutcomes", subscriptions->GetOutcomes(1, 0, nullptr)},
        {"GetOptions", start->GetOptions(nullptr)},
        {"SetOption without a value", start->SetOption(address.Get(), nullptr)},
        {"SetOption without an ID", start->SetOption(nullptr, &value)},
        {"Open without events", Of<IVEXAMLPreview>()->Open(address.Get(), nullptr, &count)},
        {"GetFields", Storage->GetFields(0, nullptr)},
        {"GetGroupingPresets", Storage->GetGroupingPresets(1, nullptr)},
        {"GetAlbumArt without an image", art->GetAlbumArt(fields.Get(), &value, nullptr, nullptr)},
        {"GetAlbumArt without fields", art->GetAlbumArt(nullptr, &value, nullptr, image.Put())},
        {"GetAlbumArt without values", art->GetAlbumArt(fields.Get(), nullptr, nullptr, image.Put())},
        {"Find without a filter", find->Find(info.Get(), nullptr, path.Put())},
        {"Find without a selection", find->Find(info.Get(), found.Put(), nullptr)},
        {"GetValueAsFloat", properties->GetValueAsFloat(1, nullptr)},
        {"GetValueAsInt32", properties->GetValueAsInt32(2, nullptr)},
        {"GetValueAsInt64", properties->GetValueAsInt64(2, nullptr)},
        {"GetValueAsObject", properties->GetValueAsObject(0, IVEXAString::IID, nullptr)},
        {"GetValueAsVariant", properties->GetValueAsVariant(2, nullptr)},
        {"SetValueAsVariant", properties->SetValueAsVariant(2, nullptr)},
        {"QueryInterface", properties->QueryInterface(IVEXAString::IID, nullptr)},
        {"GetDisplayValue", nodes->GetDisplayValue(nullptr)},
        {"GetImageIndex", nodes->GetImageIndex(nullptr)},
        {"GetValue", nodes->GetValue(text.Put(), nullptr)},
        {"ListChildren without nodes", tree->ListChildren(root.Get(), nullptr)},
        {"ListChildren without a selection", tree->ListChildren(nullptr, nodes.Put())},
        {"AddSelectionConditions without a filter", tree->AddSelectionConditions(nullptr, root.Get())},
        {"AddSelectionConditions without a selection", tree->AddSelectionConditions(filter.Get(), nullptr)},
        {"GetFieldForAlphabeticIndex", tree->GetFieldForAlphabeticIndex(nullptr)},
        {"OpenDecoder", Of<IVEXAExtensionAudioDecoderOld>()->OpenDecoder(address.Get(), 0, nullptr, nullptr)},
        {"QueryFileInfo", infos->QueryFileInfo(address.Get(), nullptr)},
        {"QueryAlbumArt",
         Of<IVEXAExtensionAlbumArtProvider>()->QueryAlbumArt(address.Get(), nullptr, nullptr, nullptr, nullptr)},
        {"QueryCaption", Of<IVEXAOptionsDialogFrame>()->QueryCaption(nullptr)},
    };
    for (const auto& [call, answer] : answers) EXPECT_EQ(answer, E_POINTER) << call;
    EXPECT_EQ(rows->GetValueAsString(0, nullptr), nullptr);
    Of<IVEXAExtensionPlayerHook>()->ResolvePlaybackURL(address.Get(), nullptr);
    EXPECT_EQ(host::ToQString(address.Get()), "podcast://h/1.mp3");
    const host::LibraryStorage storage(Host.Library());
    EXPECT_EQ(storage.Field("State")->DisplayValues->GetDisplayValue(nullptr, &length), nullptr);
    // A null text is treated as an empty one.
    EXPECT_EQ(infos->QueryFileInfo(nullptr, info.Get()), E_FAIL);
}

TEST_F(Contract, TheTreeIsOfferedForItsSchemaOnly) {
    struct Presets final : RefCountedObject<IVEXAMLGroupingPresets> {
        HResult Add(IVEXAString*, IVEXAString*, std::uint32_t, IVEXAMLGroupingTreeDataProvider*) noexcept override {
            return ++Count, S_OK;
        }
        int Count = 0;
    };
    for (std::int32_t schema = -1; schema < 12; ++schema) {
        const Ref<Presets> presets(new Presets);
        EXPECT_EQ(Storage->GetGroupingPresets(schema, presets.Get()), S_OK) << schema;
        EXPECT_EQ(presets->Count, schema == kSchemaTree ? 1 : 0) << schema;
    }
}

TEST_F(Contract, RowsAreCountedWhateverTheirColumnsAndStayAtTheEndOnceReached) {
    for (const QStringList& fields :
         {QStringList({"Duration", "State", "Title"}), QStringList("Node"), QStringList()}) {
        for (const int limit : {0, 2}) {
            SCOPED_TRACE(testing::Message() << fields.size() << " fields, limit " << limit);
            const Ref<IVEXAMLDataFilter> filter(new host::DataFilter);
            filter->SetValueAsInt32(IVEXAMLDataFilter::Limit, limit);
            Ref<IVEXAMLDataProviderSelection> rows;
            ASSERT_EQ(Rows(*filter, fields, rows), S_OK);
            ASSERT_TRUE(rows) << "there are rows";
            EXPECT_EQ(rows->GetValueAsInt64(0), fields.size() == 3 ? kLong : 0);
            EXPECT_EQ(rows->GetValueAsFloat(0), fields.size() == 3 ? double(kLong) : 0);
            EXPECT_EQ(rows->GetValueAsInt32(1), fields.size() == 3 ? podcasts::pesNew : 0);
            for (int left = (limit ? limit : 3) - 1; left > 0; --left) EXPECT_EQ(rows->NextRow(), kTrue) << left;
            for (int i = 0; i < 3; ++i) {
                EXPECT_EQ(rows->NextRow(), kFalse);
                std::int32_t length = -1;
                EXPECT_EQ(rows->GetValueAsString(1, &length), nullptr);
                EXPECT_EQ(length, 0);
                EXPECT_EQ(rows->GetValueAsInt64(0), 0);
            }
            EXPECT_TRUE(Query<IVEXAMLDataProviderSelection>(rows.Get())) << "at the end";
        }
    }
}

TEST_F(Contract, AnInvalidFilterIsAnInvalidArgument) {
    const auto withOperation = [](int operation) {
        return [operation](host::DataFilter& filter) {
            Add(filter, "Title");
            filter.SetValueAsInt32(IVEXAMLGroupFilter::Operation, operation);
        };
    };
    const std::pair<const char*, std::function<void(host::DataFilter&)>> cases[] = {
        {"a group's operation below 0", withOperation(-1)},
        {"a group's operation above 3", withOperation(4)},
        {"a comparison of nodes", [&](auto& filter) { Add(filter, "Node", "1", IVEXAMLFieldFilter::Less); }},
        {"two hundred groups in each other",
         [&](auto& filter) {
             Ref<IVEXAMLGroupFilter> group(&filter);
             for (int depth = 0; depth < 200; ++depth) {
                 Add(*group, "Title");
                 Ref<IVEXAMLGroupFilter> inner;
                 group->AddGroup(inner.Put());
                 group = inner;
             }
         }},
    };
    for (const auto& [what, fill] : cases) {
        const Ref<host::DataFilter> filter(new host::DataFilter);
        fill(*filter.Get());
        Ref<IVEXAMLDataProviderSelection> rows;
        EXPECT_EQ(Rows(*filter, {"Title"}, rows), E_INVALIDARG) << what;
        std::int64_t count = 0;
        EXPECT_EQ(
            Of<IVEXAMLSubscriptionStorage>()->GetRowCount(host::MakeStringList({"Title"}).Get(), filter.Get(), &count),
            E_INVALIDARG)
            << what;
    }
}

TEST_F(Contract, AFilterAtTheDocumentedLimitsIsAnswered) {
    for (const auto& [operation, groups] : {std::pair(IVEXAMLGroupFilter::Or, 20), {IVEXAMLGroupFilter::NotAnd, 15}}) {
        const Ref<IVEXAMLDataFilter> filter(new host::DataFilter);
        Ref<IVEXAMLGroupFilter> group = filter;
        int conditions = 0;
        for (int depth = 0; depth < groups; ++depth) {
            Ref<IVEXAMLGroupFilter> inner;
            group->AddGroup(inner.Put());
            inner->SetValueAsInt32(IVEXAMLGroupFilter::Operation, operation);
            Add(*inner, "Title", "1", IVEXAMLFieldFilter::Less);
            ++conditions;
            group = inner;
        }
        while (++conditions < 500) Add(*group, "Title", QString::number(conditions), IVEXAMLFieldFilter::NotEquals);
        Add(*group, "Title", QString(49'998, 'x'), IVEXAMLFieldFilter::Contains);
        filter->SetValueAsObject(IVEXAMLDataFilter::SearchText, host::MakeString(QString(49'998, 'x')).Get());
        for (const int limit : {0, 2}) {
            filter->SetValueAsInt32(IVEXAMLDataFilter::Limit, limit);
            Ref<IVEXAMLDataProviderSelection> rows;
            EXPECT_EQ(Rows(*filter, {"Title"}, rows), S_OK) << operation << ' ' << limit;
        }
    }
}

TEST_F(Contract, AHostOfOtherInterfacesIsRefused) {
    Plugin.Object()->Finalize();
    const Ref<Core> foreign(new Core(Host.PluginCore(), kSdkMajor + 1));
    EXPECT_EQ(Plugin.Object()->Initialize(foreign.Get()), E_NOTIMPL);
    std::int32_t major = 0, minor = -1;
    EXPECT_EQ(Query<IVEXASdkVersion>(Plugin.Object())->GetSdkVersion(&major, &minor), S_OK);
    EXPECT_EQ(std::pair(major, minor), std::pair(kSdkMajor, kSdkMinor));
}

// ---- Unloading ----

using Operation = std::function<void(const std::string& operation)>;

class Events final : public RefCountedObject<IVEXAMLSubscriptionEvents, IVEXAMLSubscriptionChoices> {
public:
    explicit Events(Operation called) : FCalled(std::move(called)) {}
    QStringList Told;
    int Ends = 0;

    void OnSubscribed(IVEXAString* address, HResult, IVEXAString*) noexcept override {
        EXPECT_EQ(Ends, 0);
        Told += host::ToQString(address);
        FCalled("OnSubscribed");
    }
    void OnChoices(IVEXAString* address, IVEXAObjectList*, IVEXAObjectList*) noexcept override {
        Told += host::ToQString(address);
        FCalled("OnChoices");
    }
    void OnCompleted() noexcept override {
        ++Ends;
        FCalled("OnCompleted");
    }

private:
    const Operation FCalled;
};

TEST_F(Contract, UnloadingInsideACallOfTheHostHappensAfterTheCall) {
    const QByteArray feed = "<rss><channel><title>T</title></channel></rss>";
    for (int i = 0; i < 10; ++i) Server.Serve(QString("/%1").arg(i), Response::Of(feed));
    Server.Serve("/stored", Response::Of(feed));
    Server.Serve("/never", Response::Of(feed).With(Fault::Wait));
    Server.Serve("/page", Response::Of("<html><head><link rel=alternate type='application/rss+xml' href=/0><link "
                                       "rel=alternate type='application/rss+xml' href=/1></head></html>",
                                       "text/html"));
    for (const char* operation :
         {"BackgroundTaskStarted", "BackgroundTaskFinished", "Changed", "OnSubscribed", "OnChoices", "OnCompleted"}) {
        SCOPED_TRACE(operation);
        EndsIn = operation;
        HasReturned = false;
        LateChanges = 0;
        QStringList addresses{Server.Url("/page")};
        for (int i = 0; i < 10; ++i) addresses += Server.Url(QString("/%1").arg(i));
        if (EndsIn != "OnCompleted") addresses += Server.Url("/never");
        std::vector<Ref<Events>> events;
        if (EndsIn.starts_with("On")) {
            for (int i = 0; i < 10; ++i) {
                events.push_back(new Events([this](const std::string& called) { Call(called); }));
                ASSERT_EQ(Of<IVEXAMLSubscriptionStorage>()->Subscribe(host::MakeStringList(addresses).Get(),
                                                                      events.back().Get()),
                          S_OK);
            }
        } else {
            Host.Menus().Run(*RegisteredItem("VEXA.Podcasts.Actions.RefreshFeeds"));
        }
        ASSERT_TRUE(WaitUntil([&] { return HasReturned; })) << "it was not called";
        EXPECT_EQ(LateChanges, 0) << "reported after the plug-in was finalised";
        // The plug-in has ended when it can be initialised again.
        Host.PluginCore().FinalizeExtensions(0);
        Host.PluginCore().RemoveExtensions(0);
        ASSERT_TRUE(WaitUntil([&] { return Plugin.Object()->Initialize(RecordingCore.Get()) == S_OK; }))
            << "it has not ended";
        for (const auto& heard : events) {
            EXPECT_EQ(heard->Ends, 1);
            EXPECT_EQ(QSet<QString>(heard->Told.begin(), heard->Told.end()).size(), addresses.size());
        }
        Storage = RecordingCore->Registered<IVEXAMLExtensionDataStorage>();
        Host.Library().SetActiveStorage(Storage.Get());
    }
}

}  // namespace
}  // namespace tests
