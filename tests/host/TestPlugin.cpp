// A plug-in for the tests, for the scheme "test". It records its calls in the settings, under "Test\…".

#include "TestPlugin.h"

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.SDK.h"

#include <QString>

using namespace vexa;

namespace {

Ref<IVEXAString> MakeString(IVEXACore& core, const QString& text) {
    Ref<IVEXAString> made;
    core.CreateObject(IVEXAString::IID, made.PutVoid());
    made->SetChars(reinterpret_cast<const char16_t*>(text.constData()), static_cast<std::int32_t>(text.size()));
    return made;
}

bool IsTestAddress(IVEXAString* text) {
    return CollectText([&](char16_t* buffer, std::int32_t capacity) { return text->GetChars(buffer, capacity); })
        .startsWith(QStringLiteral("test://"));
}

class Extension final : public RefCountedObject<IVEXAExtensionPlayerHook, IVEXAExtensionFileInfoProvider> {
public:
    explicit Extension(const Ref<IVEXACore>& core) : FCore(core) {}

    void ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept override {
        if (!IsTestAddress(address)) return;
        const QString target = QStringLiteral("http://127.0.0.1/a.mp3");
        address->SetChars(reinterpret_cast<const char16_t*>(target.constData()),
                          static_cast<std::int32_t>(target.size()));
        *handled = kTrue;
    }
    HResult QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept override {
        if (!IsTestAddress(file)) return E_FAIL;
        return info->SetValueAsObject(IVEXAFileInfo::Title, MakeString(*FCore.Get(), QStringLiteral("a test")).Get());
    }

private:
    Ref<IVEXACore> FCore;
};

class TestPlugin final : public RefCountedObject<IVEXAPlugin> {
public:
    const char16_t* GetInformation(std::int32_t index) noexcept override {
        return index == Name ? u"Test" : index == Author ? u"the tests" : u"";
    }
    std::uint32_t GetCategories() noexcept override { return CategoryAddon; }
    HResult Initialize(IVEXACore* core) noexcept override {
        FCore = Ref<IVEXACore>(core);
        Note("Initialized");
        const Ref<Extension> extension(new Extension(FCore));
        const Ref<IVEXAExtensionPlayerHook> registered(extension);
        core->RegisterExtension(IVEXAServicePlayer::IID, registered.Get());
        core->RegisterExtension(IVEXAServiceFileInfo::IID, registered.Get());
        return Query<IVEXAServiceMusicLibrary>(core) ? S_OK : E_NOTIMPL;
    }
    void Finalize() noexcept override {
        Note("Finalized");
        FCore = nullptr;
    }
    void SystemNotify(std::int32_t, IUnknown*) noexcept override {}

private:
    void Note(const char* what) {
        if (const auto config = Query<IVEXAServiceConfig>(FCore.Get()))
            config->SetValueAsInt32(MakeString(*FCore.Get(), u"Test\\" + QString::fromLatin1(what)).Get(), 1);
    }

    Ref<IVEXACore> FCore;
};

}  // namespace

HResult VEXAPluginGetHeader(IVEXAPlugin** header) {
    *header = Ref<IVEXAPlugin>(new TestPlugin).Detach();
    return S_OK;
}
