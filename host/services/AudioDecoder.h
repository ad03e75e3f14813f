#pragma once
// Service: audio decoders. Any thread.

#include "Extensions.h"
#include "Language.h"
#include "VEXA.Runtime.Classes.h"
#include "VEXA.SDK.Files.h"

#include <QString>

namespace vexa::host {

class AudioDecoderService final : public RefCountedObject<IVEXAServiceAudioDecoder>, public ExtensionTarget {
public:
    explicit AudioDecoderService(Ref<LanguageService> language) : FLanguage(std::move(language)) {}

    /// The decoder, or the result code of the failure and the message about it for the user.
    struct Answer {
        HResult Result = E_NOTIMPL;
        Ref<IVEXAAudioDecoder> Decoder;
        QString Message;
    };
    /// Asks the extensions, then opens a local audio file itself. E_NOTIMPL when neither handles the file.
    Answer Ask(const QString& file, std::uint32_t flags = 0) const;

    HResult AddExtension(IUnknown* extension) override { return FExtensions.Add(extension); }
    void RemoveExtension(IUnknown* extension) override { FExtensions.Remove(extension); }

    HResult CreateDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                          IVEXAAudioDecoder** decoder) noexcept override;

private:
    Answer AskExtensions(const QString& file, std::uint32_t flags) const;

    const Ref<LanguageService> FLanguage;
    ExtensionList<IVEXAExtensionAudioDecoderOld> FExtensions;
};

}  // namespace vexa::host
