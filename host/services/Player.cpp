#include "Player.h"

#include "ErrorInfo.h"
#include "Guarded.h"
#include "HostReasons.h"
#include "Properties.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

#include <utility>

namespace vexa::host {

namespace {

/// The texts of `info`, and its duration.
Ref<FileInfo> CopyOf(IVEXAFileInfo& info) {
    Ref<FileInfo> copy(new FileInfo);
    for (const FileInfo::Name& property : FileInfo::Names())
        if (const QString text = TextOf(&info, property.ID); !text.isEmpty())
            copy->SetValueAsObject(property.ID, MakeString(text).Get());
    double duration = 0;
    if (Succeeded(info.GetValueAsFloat(IVEXAFileInfo::Duration, &duration)))
        copy->SetValueAsFloat(IVEXAFileInfo::Duration, duration);
    return copy;
}

}  // namespace

PlayerService::PlayerService(Ref<AudioDecoderService> decoders, Ref<FileInfoService> infos,
                             Ref<MessageDispatcher> messages, Ref<LanguageService> language,
                             std::shared_ptr<PresentAddresses> addresses, std::unique_ptr<AudioOutput> output)
    : FDecoders(std::move(decoders)),
      FInfos(std::move(infos)),
      FMessages(std::move(messages)),
      FLanguage(std::move(language)),
      FAddresses(std::move(addresses)),
      FOutput(std::move(output)) {
    FAddresses->AddKeeper(this);
    ListenToOutput();
}

PlayerService::~PlayerService() {
    FAddresses->RemoveKeeper(this);
}

QStringList PlayerService::KeptAddresses() const {
    return FFileName.isEmpty() || FPreview ? QStringList() : QStringList(FFileName);
}

void PlayerService::SetOutput(std::unique_ptr<AudioOutput> output) {
    VEXA_ASSERT_MAIN_THREAD();
    Stop();
    FOutput = std::move(output);
    ListenToOutput();
}

void PlayerService::ListenToOutput() {
    FOutput->Moved = [this] { OnMoved(); };
}

void PlayerService::OnMoved() {
    if (FFileName.isEmpty() || std::exchange(FHasMoved, true)) return;
    FMessages->Send(kMsgPlaybackStarted, 0, nullptr);
}

QString PlayerService::AskHooks(const QString& address) const {
    for (const auto& hook : FHooks.Copy()) {
        const Ref<IVEXAString> text = MakeString(address);
        Bool32 isHandled = kFalse;
        hook->ResolvePlaybackURL(text.Get(), &isHandled);
        if (isHandled != kFalse) return ToQString(text.Get());
    }
    return {};
}

PlayerService::Resolution PlayerService::Resolve(const QString& file) const {
    Resolution resolved;
    resolved.Decoder = FDecoders->Ask(file);
    resolved.Result = resolved.Decoder.Result;
    if (Succeeded(resolved.Result)) {
        Ref<IVEXAString> source;
        resolved.Result = resolved.Decoder.Decoder->GetSource(source.Put());
        resolved.Source = ToQString(source.Get());
    } else if (resolved.Result == E_NOTIMPL && !file.isEmpty()) {
        const QString hooked = AskHooks(file);
        resolved.Source = hooked.isEmpty() ? file : hooked;
        resolved.Result = S_OK;
    }
    if (Failed(resolved.Result)) {
        resolved.Source.clear();
        resolved.Message = resolved.Decoder.Message;
        if (resolved.Message.isEmpty()) resolved.Message = FLanguage->Text(Reason(HostReason("NotPlayable"), {file}));
    }
    return resolved;
}

HResult PlayerService::GetInfo(IVEXAFileInfo** info) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!info) return E_POINTER;
    *info = nullptr;
    return Guarded("describing what plays", [&] {
        if (FFileName.isEmpty()) return E_FAIL;
        if (FPreview) return *info = Ref<IVEXAFileInfo>(CopyOf(*FPreview)).Detach(), S_OK;
        const Ref<IVEXAFileInfo> made(new FileInfo);
        const Ref<IVEXAString> name = MakeString(FFileName);
        FInfos->GetFileInfo(name.Get(), 0, made.Get());  // if no provider knows the file, only its name is given
        made->SetValueAsObject(IVEXAFileInfo::FileName, MakeString(FFileName).Get());
        *info = Ref(made).Detach();
        return S_OK;
    });
}

HResult PlayerService::Play(IVEXAString* file, IVEXAErrorInfo* error) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return Guarded("starting playback", [&] {
        const QString name = ToQString(file);
        const Resolution resolved = Resolve(name);
        if (Failed(resolved.Result)) {
            SetError(error, resolved.Result, resolved.Message);
            return resolved.Result;
        }
        return Start(name, resolved.Source, nullptr, error);
    });
}

HResult PlayerService::PlayPreview(IVEXAFileInfo* info, IVEXAErrorInfo* error) noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    if (!info) return E_POINTER;
    return Guarded("starting a preview", [&] {
        const QString address = TextOf(info, IVEXAFileInfo::FileName);
        if (IsUrl(address)) return Start(address, address, CopyOf(*info), error);
        // The address comes from a server, which must not make the player open files of this machine.
        SetError(error, E_INVALIDARG, FLanguage->Text(Reason(HostReason("NotPlayable"), {address})));
        return E_INVALIDARG;
    });
}

HResult PlayerService::Start(const QString& name, const QString& source, Ref<FileInfo> preview, IVEXAErrorInfo* error) {
    // A file that is resumed after a failure was reported as heard before.
    if (name != FFileName) FHasMoved = false;
    FFileName = name;
    FSource = source;
    FPreview = std::move(preview);
    try {
        FOutput->Start(source);
    } catch (const std::exception& failure) {
        Forget();
        SetError(error, E_FAIL, FLanguage->Text(ReasonOf(failure)));
        return E_FAIL;
    }
    if (FStarted) FStarted();
    return S_OK;
}

void PlayerService::Forget() {
    FPreview = nullptr;
    FFileName.clear();
    FSource.clear();
    FHasMoved = false;
}

HResult PlayerService::Stop() noexcept {
    VEXA_ASSERT_MAIN_THREAD();
    return Guarded("stopping playback", [&] {
        FOutput->Stop();
        Forget();
        return S_OK;
    });
}

}  // namespace vexa::host
