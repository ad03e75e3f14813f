#pragma once
// Service: the player, without the audio output itself.

#include "AudioDecoder.h"
#include "FileInfo.h"
#include "FileInfoService.h"
#include "Messages.h"
#include "PresentAddresses.h"

#include <functional>
#include <memory>

namespace vexa::host {

/// Plays the sound. Main thread.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;
    /// Plays a local file or a web address in place of the current one. Throws ReasonError when playback cannot be
    /// started; then nothing plays.
    virtual void Start(const QString& source) = 0;
    virtual void Stop() = 0;

    /// Called by the output when the position has moved for the first time since Start: only then it is known that the
    /// source can be played. May be called from within Start.
    std::function<void()> Moved;
};

/// Plays nothing; keeps the source that it was told to play.
class SilentOutput final : public AudioOutput {
public:
    void Start(const QString& source) override {
        Source = source;
        if (Moved) Moved();
    }
    void Stop() override { Source.clear(); }

    QString Source;
};

class PlayerService final : public RefCountedObject<IVEXAServicePlayer, IVEXAPlayerPreview>,
                            public ExtensionTarget,
                            private AddressKeeper {
public:
    PlayerService(Ref<AudioDecoderService> decoders, Ref<FileInfoService> infos, Ref<MessageDispatcher> messages,
                  Ref<LanguageService> language, std::shared_ptr<PresentAddresses> addresses,
                  std::unique_ptr<AudioOutput> output);
    ~PlayerService() override;

    /// Stops, and replaces the output. Main thread.
    void SetOutput(std::unique_ptr<AudioOutput> output);
    /// Sets the listener that is called whenever a file was given to the output, even the same file again; null for
    /// none. Plug-ins get a message instead, and only once the file is heard. Main thread.
    void SetStartListener(std::function<void()> listener) { FStarted = std::move(listener); }

    /// The source that the output is given for a file, or why there is none.
    struct Resolution {
        AudioDecoderService::Answer Decoder;  // any result but E_NOTIMPL is final: the hooks are not asked
        QString Source;
        HResult Result = S_OK;
        QString Message;  // for the user
    };
    /// Any thread.
    Resolution Resolve(const QString& file) const;
    /// The address that the first hook that handles `address` replaces it by; empty when no hook does. Any thread.
    QString AskHooks(const QString& address) const;

    /// The name by which the current file was started, or its present address if that has moved; empty when nothing
    /// plays. Main thread.
    QString FileName() const { return FFileName; }
    /// What was said of the current file if it is a preview, of which nothing is kept; null for any other file. Main
    /// thread.
    const Ref<FileInfo>& Preview() const noexcept { return FPreview; }
    /// The source that the output was given; empty when nothing plays. Main thread.
    QString Source() const { return FSource; }

    HResult AddExtension(IUnknown* extension) override { return FHooks.Add(extension); }
    void RemoveExtension(IUnknown* extension) override { FHooks.Remove(extension); }

    HResult GetInfo(IVEXAFileInfo** info) noexcept override;
    HResult Play(IVEXAString* file, IVEXAErrorInfo* error) noexcept override;
    HResult Stop() noexcept override;
    HResult PlayPreview(IVEXAFileInfo* info, IVEXAErrorInfo* error) noexcept override;

private:
    HResult Start(const QString& name, const QString& source, Ref<FileInfo> preview, IVEXAErrorInfo* error);
    QStringList KeptAddresses() const override;
    void OnAddressesMoved(const AddressMoves& moves) override { FFileName = moves.value(FFileName, FFileName); }
    void ListenToOutput();
    void OnMoved();
    void Forget();

    const Ref<AudioDecoderService> FDecoders;
    const Ref<FileInfoService> FInfos;
    const Ref<MessageDispatcher> FMessages;
    const Ref<LanguageService> FLanguage;
    const std::shared_ptr<PresentAddresses> FAddresses;
    std::unique_ptr<AudioOutput> FOutput;
    ExtensionList<IVEXAExtensionPlayerHook> FHooks;
    std::function<void()> FStarted;
    QString FFileName, FSource;
    Ref<FileInfo> FPreview;
    bool FHasMoved = false;  // the position has moved, and the plug-ins were told that the file plays
};

}  // namespace vexa::host
