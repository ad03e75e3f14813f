#pragma once
// Service: the player, but for what makes the sound.

#include "AudioDecoder.h"
#include "FileInfoService.h"
#include "Messages.h"
#include "PresentAddresses.h"

#include <memory>

namespace vexa::host {

/// What makes the sound. Main thread.
class AudioOutput {
public:
    virtual ~AudioOutput() = default;
    /// Plays a local file or a web address in place of what plays. Throws std::runtime_error when it cannot begin;
    /// nothing plays then.
    virtual void Start(const QString& source) = 0;
    virtual void Stop() = 0;
};

/// Makes no sound, and remembers what it would play.
class SilentOutput final : public AudioOutput {
public:
    void Start(const QString& source) override { Source = source; }
    void Stop() override { Source.clear(); }

    QString Source;
};

class PlayerService final : public RefCountedObject<IVEXAServicePlayer>, public ExtensionTarget, private AddressKeeper {
public:
    PlayerService(Ref<AudioDecoderService> decoders, Ref<FileInfoService> infos, Ref<MessageDispatcher> messages,
                  std::shared_ptr<PresentAddresses> addresses, std::unique_ptr<AudioOutput> output);
    ~PlayerService() override;

    /// In place of the one that it has. Main thread.
    void SetOutput(std::unique_ptr<AudioOutput> output);

    /// What the output is given for a file: S_OK with the source, or why there is none. Any thread.
    struct Resolution {
        AudioDecoderService::Answer Decoder;  // anything but E_NOTIMPL decides
        QString Source;
        HResult Result = S_OK;
        QString Message;  // for the user
    };
    Resolution Resolve(const QString& file) const;
    /// What the first hook makes of an address; empty when none knows it. Any thread.
    QString AskHooks(const QString& address) const;

    /// The name that what plays was started by, or the one that it has since; empty when nothing plays. Main thread.
    QString FileName() const { return FFileName; }
    /// What the output was given. Main thread.
    QString Source() const { return FSource; }

    HResult AddExtension(IUnknown* extension) override { return FHooks.Add(extension); }
    void RemoveExtension(IUnknown* extension) override { FHooks.Remove(extension); }

    HResult GetInfo(IVEXAFileInfo** info) noexcept override;
    HResult Play(IVEXAString* file, IVEXAErrorInfo* error) noexcept override;
    HResult Stop() noexcept override;

private:
    QStringList KeptAddresses() const override;
    void OnAddressesMoved(const AddressMoves& moves) override { FFileName = moves.value(FFileName, FFileName); }

    const Ref<AudioDecoderService> FDecoders;
    const Ref<FileInfoService> FInfos;
    const Ref<MessageDispatcher> FMessages;
    const std::shared_ptr<PresentAddresses> FAddresses;
    std::unique_ptr<AudioOutput> FOutput;
    ExtensionList<IVEXAExtensionPlayerHook> FHooks;
    QString FFileName, FSource;
};

}  // namespace vexa::host
