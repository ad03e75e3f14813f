#pragma once
// Service: audio decoders. Any thread.

#include "Extensions.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Files.h"

#include <QString>

namespace vexa::host {

class AudioDecoderService final : public RefCountedObject<IVEXAServiceAudioDecoder>, public ExtensionTarget {
public:
    /// How decoders answered: the decoder, or the code of the failure and what to tell the user about it.
    struct Answer {
        HResult Result = E_NOTIMPL;
        Ref<IVEXAAudioDecoder> Decoder;
        QString Message;
    };
    /// Asks the extensions, then opens a local audio file. E_NOTIMPL leaves the file to others.
    Answer Ask(const QString& file, std::uint32_t flags = 0) const;

    HResult AddExtension(IUnknown* extension) override { return FExtensions.Add(extension); }
    void RemoveExtension(IUnknown* extension) override { FExtensions.Remove(extension); }

    HResult CreateDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                          IVEXAAudioDecoder** decoder) noexcept override;

private:
    Answer AskExtensions(const QString& file, std::uint32_t flags) const;

    ExtensionList<IVEXAExtensionAudioDecoderOld> FExtensions;
};

}  // namespace vexa::host
