// Core, configuration, messages, storages, and loading and unloading of plug-ins.

#include "EpisodeStorage.h"
#include "LatestTask.h"
#include "Streams.h"

#include <atomic>

using namespace vexa::host;

namespace {

class Hook final : public RefCountedObject<IVEXAMessageHook> {
public:
    explicit Hook(std::function<void(Hook&, HResult*)> act) : Act(std::move(act)) {}
    void OnMessage(std::uint32_t, std::int32_t, void*, HResult* result) noexcept override { Act(*this, result); }
    std::function<void(Hook&, HResult*)> Act;
};

/// A storage that logs what happens to it.
class Storage final : public tests::EpisodeStorage {
public:
    explicit Storage(QStringList* log) : FLog(log) {}
    ~Storage() override { *FLog += "storage freed"; }

    void Finalize() noexcept override { *FLog += "storage finalized"; }
    void Initialize(IVEXAMLDataStorageManager*) noexcept override { *FLog += "storage initialized"; }

private:
    QStringList* FLog;
};

/// A plug-in that registers a storage, and returns a given result.
class StoragePlugin final : public RefCountedObject<IVEXAPlugin, IVEXASdkVersion> {
public:
    StoragePlugin(HResult answer, QStringList* log, std::int32_t sdk) : FAnswer(answer), FLog(log), FSdk(sdk) {}
    ~StoragePlugin() override { *FLog += "plug-in freed"; }

    const char16_t* GetInformation(std::int32_t) noexcept override { return nullptr; }
    std::uint32_t GetCategories() noexcept override { return 0; }
    HResult Initialize(IVEXACore* core) noexcept override {
        const Ref<Storage> storage(new Storage(FLog));
        core->RegisterExtension(IVEXAServiceMusicLibrary::IID, storage->Identity());
        return FAnswer;
    }
    void Finalize() noexcept override { *FLog += "plug-in finalized"; }
    void SystemNotify(std::int32_t, IUnknown*) noexcept override {}
    HResult GetSdkVersion(std::int32_t* major, std::int32_t* minor) noexcept override {
        *major = FSdk;
        *minor = kSdkMinor + 1;
        return S_OK;
    }

private:
    HResult FAnswer;
    QStringList* FLog;
    std::int32_t FSdk;
};

}  // namespace

TEST_F(HostTest, SettingsAreReadByTheirType) {
    ConfigService& config = Host.Config();
    const auto key = MakeString("A\\k");
    std::int32_t number = 1;
    std::int64_t wide = 0;
    double real = 0;
    EXPECT_EQ(config.GetValueAsInt32(key.Get(), &number), E_FAIL);
    EXPECT_EQ(config.SetValueAsFloat(key.Get(), 0.1), S_OK);
    EXPECT_EQ(config.GetValueAsFloat(key.Get(), &real), S_OK);
    EXPECT_EQ(real, 0.1);
    EXPECT_EQ(config.SetValueAsInt64(key.Get(), std::int64_t{1} << 40), S_OK);
    EXPECT_EQ(config.GetValueAsInt32(key.Get(), &number), E_FAIL);
    EXPECT_EQ(config.GetValueAsInt64(key.Get(), &wide), S_OK);
    EXPECT_EQ(wide, std::int64_t{1} << 40);

    const Ref<MemoryStream> stream(new MemoryStream);
    stream->Write("\0\xff", 2, nullptr);
    EXPECT_EQ(config.SetValueAsStream(key.Get(), stream.Get()), S_OK);
    const Ref<MemoryStream> back(new MemoryStream);
    EXPECT_EQ(config.GetValueAsStream(key.Get(), back.Get()), S_OK);
    EXPECT_EQ(QByteArray(static_cast<char*>(back->GetData()), back->GetSize()), QByteArray("\0\xff", 2));
    config.Write("A\\k", "no base64!");
    EXPECT_EQ(config.GetValueAsStream(key.Get(), back.Get()), E_FAIL);
    for (const QString& bad : QStringList{"", "A\\", "A\\a=b", "A\\;x", "A\\x\ny", "\\x", u"\uFEFFx"_s})
        EXPECT_EQ(config.SetValueAsInt32(MakeString(bad).Get(), 1), E_INVALIDARG) << bad.toStdString();
}

TEST_F(HostTest, SettingsSurviveAnotherProcessAndAFolderThatCannotBeWritten) {
    Host.Config().Write("A\\y", "2");
    WriteWhole(Profile.File("Settings.ini"), "[A]\ny=1\nz=7\n");
    EXPECT_NO_THROW(Host.Config().Save());
    EXPECT_EQ(ReadWhole(Profile.File("Settings.ini")), "[A]\ny=2\nz=7\n");
    Host.Config().Write("A\\y", "3");
    EXPECT_TRUE(tests::WaitUntil([&] { return ReadWhole(Profile.File("Settings.ini")).contains("y=3"); }))
        << "a program killed now would lose it";

    tests::TempFolder folder;
    WriteWhole(folder.File("file"), "");
    const Ref<ConfigService> lost(new ConfigService(folder.File("file/profile")));
    lost->Write("A\\x", "1");
    const QString problem = ErrorOf([&] { lost->Save(); });
    EXPECT_TRUE(problem.contains("cannot write the settings")) << problem.toStdString();
    EXPECT_EQ(lost->Flush(), E_FAIL);
}

TEST(LatestTask, StopsAndWaitsForWorkWhoseResultIsNotWantedAndStartsTheNext) {
    LatestTask task;
    QString done;
    std::atomic<bool> hasEnded{false};
    task.Run([&](const CancelCheck& isStopped) -> std::function<void()> {
        while (!isStopped()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
        hasEnded = true;
        return [&] { done += "stopped"; };
    });
    task.Stop();
    EXPECT_TRUE(hasEnded) << "it is still running";
    EXPECT_FALSE(task.IsBusy());
    task.Run([&](const CancelCheck&) { return [&] { done += "next"; }; });
    EXPECT_TRUE(tests::WaitUntil([&] { return !done.isEmpty(); })) << "the next work has not been started";
    EXPECT_EQ(done, "next");
}

TEST_F(HostTest, HooksAreCalledInOrderAndMayUnhookMeanwhile) {
    QStringList heard;
    MessageDispatcher& messages = Host.Messages();
    const Ref<Hook> first(new Hook([&](Hook& self, HResult*) {
        heard += "first";
        messages.Unhook(&self);
    }));
    const Ref<Hook> third(new Hook([&](Hook&, HResult*) { heard += "third"; }));
    const Ref<Hook> second(new Hook([&](Hook&, HResult* result) {
        heard += "second";
        messages.Unhook(third.Get());
        *result = E_ABORT;
    }));
    messages.Handle(1, [&](std::int32_t, void*) { return heard += "host", S_OK; });
    EXPECT_EQ(messages.Hook(first.Get()), S_OK);
    EXPECT_EQ(messages.Hook(first.Get()), E_INVALIDARG);
    messages.Hook(second.Get());
    messages.Hook(third.Get());
    EXPECT_EQ(messages.Send(1, 0, nullptr), E_ABORT);  // a hook has handled it, so the host's handler is not called
    EXPECT_EQ(heard, QStringList({"first", "second"}));
    messages.Unhook(second.Get());
    heard.clear();
    EXPECT_EQ(messages.Send(1, 0, nullptr), S_OK);
    EXPECT_EQ(heard, QStringList({"host"}));
    EXPECT_EQ(messages.Send(2, 0, nullptr), E_NOTIMPL);
}

TEST_F(HostTest, APluginEndsAfterItsStorageAndIsReleasedLast) {
    QStringList log;
    const auto plugin = [&log](HResult answer, std::int32_t sdk) {
        log.clear();
        return Plugin(Ref<IVEXAPlugin>(new StoragePlugin(answer, &log, sdk)), "a test's");
    };
    const QStringList end = {"storage initialized", "storage finalized", "plug-in finalized", "storage freed",
                             "plug-in freed"};
    Host.StartPlugin(plugin(S_OK, kSdkMajor));
    Host.UnloadPlugins();
    EXPECT_EQ(log, end);
    EXPECT_THROW(Host.StartPlugin(plugin(E_FAIL, kSdkMajor)), PluginError);
    EXPECT_EQ(log, end);
    EXPECT_THROW(Host.StartPlugin(plugin(S_OK, kSdkMajor + 1)), PluginError);
    EXPECT_FALSE(log.contains("storage initialized"));
    EXPECT_TRUE(Host.Library().StorageIDs().isEmpty());
}

TEST_F(HostTest, AFileThatCannotBeLoadedIsReported) {
    WriteWhole(Profile.File("text.so"), "no library");
    const std::pair<QString, const char*> cases[] = {
        {Profile.File("none.so"), "there is no file"},
        {Profile.File("text.so"), "is not a plug-in that can be loaded"},
        {QStringLiteral(NO_PLUGIN), "without VEXAPluginGetHeader"},
    };
    for (const auto& [file, message] : cases) {
        EXPECT_THROW(Host.LoadPlugin(file), PluginError);
        const QString problem = ErrorOf([&, name = file] { Host.LoadPlugin(name); });
        EXPECT_TRUE(problem.contains(message)) << problem.toStdString();
    }
}
