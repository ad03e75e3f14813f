#include "AudioDecoder.h"

#include "AudioTags.h"
#include "ErrorInfo.h"
#include "Guarded.h"
#include "HostReasons.h"
#include "Strings.h"

#include <QFileInfo>

namespace vexa::host {

namespace {

/// A local audio file.
class FileDecoder final : public RefCountedObject<IVEXAAudioDecoder> {
public:
    FileDecoder(const QString& fileName, const AudioTags& tags) : FFileName(fileName), FTags(tags) {}

    HResult GetSource(IVEXAString** source) noexcept override {
        return Guarded("giving a decoder's source", [&] { return PutString(FFileName, source); });
    }
    HResult GetStreamInfo(std::int32_t* sampleRate, std::int32_t* channels, double* duration) noexcept override {
        if (sampleRate) *sampleRate = FTags.SampleRate;
        if (channels) *channels = FTags.Channels;
        if (duration) *duration = FTags.Duration;
        return S_OK;
    }

private:
    const QString FFileName;
    const AudioTags FTags;
};

}  // namespace

AudioDecoderService::Answer AudioDecoderService::AskExtensions(const QString& file, std::uint32_t flags) const {
    for (const auto& extension : FExtensions.Copy()) {
        Answer answer;
        const Ref<ErrorInfo> error(new ErrorInfo);
        answer.Result = extension->OpenDecoder(MakeString(file).Get(), flags, error.Get(), answer.Decoder.Put());
        if (answer.Result == E_NOTIMPL) continue;
        if (Succeeded(answer.Result) && !answer.Decoder) answer.Result = E_FAIL;
        if (Failed(answer.Result)) answer.Message = error->Message();
        return answer;
    }
    return {};
}

AudioDecoderService::Answer AudioDecoderService::Ask(const QString& file, std::uint32_t flags) const {
    Answer answer = AskExtensions(file, flags);
    const QString fileName = LocalFileName(file);
    if (answer.Result != E_NOTIMPL || fileName.isEmpty()) return answer;
    if (!QFileInfo(fileName).isFile())
        return {E_FAIL, {}, FLanguage->Text(Reason(HostReason("NoSuchFile"), {fileName}))};
    if (const auto tags = ReadAudioTags(fileName))
        return {S_OK, Ref<IVEXAAudioDecoder>(new FileDecoder(fileName, *tags)), {}};
    return answer;
}

HResult AudioDecoderService::CreateDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                                           IVEXAAudioDecoder** decoder) noexcept {
    if (!decoder) return E_POINTER;
    *decoder = nullptr;
    return Guarded("opening a decoder", [&] {
        Answer answer = Ask(ToQString(file), flags);
        if (Succeeded(answer.Result)) {
            *decoder = answer.Decoder.Detach();
        } else {
            const QString message =
                answer.Message.isEmpty() ? FLanguage->Text(Reason(HostReason("NoDecoder"))) : answer.Message;
            SetError(error, answer.Result, message);
        }
        return answer.Result;
    });
}

}  // namespace vexa::host
