#include "Player.h"

#include "ErrorInfo.h"
#include "FileInfo.h"
#include "Guarded.h"
#include "HostReasons.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <utility>

namespace vexa::host {

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
    return FFileName.isEmpty() ? QStringList() : QStringList(FFileName);
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
        // A file that is resumed after a failure was reported as heard before.
        if (name != FFileName) FHasMoved = false;
        FFileName = name;
        FSource = resolved.Source;
        try {
            FOutput->Start(resolved.Source);
        } catch (const std::exception& failure) {
            Forget();
            SetError(error, E_FAIL, FLanguage->Text(ReasonOf(failure)));
            return E_FAIL;
        }
        if (FStarted) FStarted();
        return S_OK;
    });
}

void PlayerService::Forget() {
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
