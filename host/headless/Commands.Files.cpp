// Commands about files and addresses. They run on a worker thread.

#include "Commands.Functions.h"
#include "FileInfo.h"
#include "Images.h"
#include "Strings.h"

namespace vexa::host::commands {

namespace {

QString FormatName(std::int32_t format) {
    static const QStringList names{"unknown", "BMP", "JPEG", "PNG", "GIF", "WebP", "SVG"};
    return names.value(format, QStringLiteral("other"));
}

QJsonObject DecoderAnswer(const AudioDecoderService::Answer& answer) {
    QJsonObject json{{QStringLiteral("code"), ToHex(answer.Result)}};
    if (!answer.Decoder) return json;
    Ref<IVEXAString> source;
    std::int32_t sampleRate = 0, channels = 0;
    double duration = 0;
    answer.Decoder->GetSource(source.Put());
    answer.Decoder->GetStreamInfo(&sampleRate, &channels, &duration);
    json.insert(QStringLiteral("source"), ToQString(source.Get()));
    json.insert(QStringLiteral("sampleRate"), sampleRate);
    json.insert(QStringLiteral("channels"), channels);
    json.insert(QStringLiteral("duration"), duration);
    return json;
}

}  // namespace

QJsonObject Resolve(Host& host, const QStringList& arguments) {
    const QString hooked = host.Player().AskHooks(arguments[0]);
    const PlayerService::Resolution resolved = host.Player().Resolve(arguments[0]);
    QJsonObject answer{
        {QStringLiteral("decoder"), DecoderAnswer(resolved.Decoder)},
        {QStringLiteral("hook"), hooked.isEmpty() ? QJsonValue() : QJsonValue(hooked)},
        {QStringLiteral("source"), Failed(resolved.Result) ? QJsonValue() : QJsonValue(resolved.Source)},
    };
    if (Failed(resolved.Result)) answer.insert(QStringLiteral("error"), resolved.Message);
    return answer;
}

QJsonObject Info(Host& host, const QStringList& arguments) {
    const Ref<FileInfo> info(new FileInfo);
    const HResult result = host.FileInfos().GetFileInfo(MakeString(arguments[0]).Get(), 0, info.Get());
    if (Failed(result)) throw CommandError(u"nothing is known of " + arguments[0], result);
    QJsonObject values;
    for (const FileInfo::Name& name : FileInfo::Names()) {
        double number = 0;
        if (const QString key = QString::fromLatin1(name.Text); name.ID != IVEXAFileInfo::Duration) {
            if (!std::holds_alternative<std::monostate>(info->Properties().Find(name.ID)))
                values.insert(key, info->Text(name.ID));
        } else if (Succeeded(info->GetValueAsFloat(name.ID, &number))) {
            values.insert(key, number);
        }
    }
    return {{QStringLiteral("info"), values}};
}

QJsonObject Art(Host& host, const QStringList& arguments) {
    Ref<IVEXAImageContainer> image;
    const HResult result =
        host.AlbumArt().GetAlbumArt(MakeString(arguments[0]).Get(), nullptr, nullptr, nullptr, image.Put());
    if (Failed(result)) throw CommandError(u"there is no picture of " + arguments[0], result);
    std::int32_t width = 0, height = 0, format = 0;
    const HResult read = image->GetInfo(&width, &height, &format);
    if (Failed(read)) throw CommandError(u"the picture of " + arguments[0] + u" cannot be read", read);
    return {{QStringLiteral("width"), width},
            {QStringLiteral("height"), height},
            {QStringLiteral("format"), FormatName(format)},
            {QStringLiteral("bytes"), static_cast<qint64>(image->GetDataSize())}};
}

QJsonObject Folder(Host& host, const QStringList& arguments) {
    const bool opens = arguments.size() > 1;
    if (opens && arguments[1] != u"open")
        throw CommandError(QStringLiteral("usage: folder ADDRESS [open]"), E_INVALIDARG);
    const auto address = MakeString(arguments[0]);
    Ref<IVEXAFileSystemCommandOpenFileFolder> command;
    const HResult found =
        host.FileSystems().GetFileSystem(address.Get(), IVEXAFileSystemCommandOpenFileFolder::IID, command.PutVoid());
    if (Failed(found)) throw CommandError(u"no file system opens folders of " + arguments[0], found);
    const bool canOpen = Succeeded(command->CanOpenFolder(address.Get()));
    if (!opens) return {{QStringLiteral("canOpen"), canOpen}};
    const HResult opened = command->OpenFolder(address.Get());
    if (Failed(opened)) throw CommandError(u"the folder of " + arguments[0] + u" cannot be opened", opened);
    return {{QStringLiteral("canOpen"), canOpen}, {QStringLiteral("opened"), true}};
}

QJsonObject Present(Host& host, const QStringList& arguments) {
    const auto address = MakeString(arguments[0]);
    Ref<IVEXAFileSystemCommandPresentAddress> command;
    const HResult found =
        host.FileSystems().GetFileSystem(address.Get(), IVEXAFileSystemCommandPresentAddress::IID, command.PutVoid());
    if (Failed(found)) throw CommandError(u"no file system knows present addresses of " + arguments[0], found);
    std::int64_t moves = 0;
    const HResult counted = command->GetMoveCount(&moves);
    if (Failed(counted)) throw CommandError(u"the moves cannot be counted of " + arguments[0], counted);
    const HResult result = command->GetPresentAddress(address.Get());
    if (Failed(result)) throw CommandError(u"nothing is known of " + arguments[0], result);
    return {{QStringLiteral("present"), ToQString(address.Get())},
            {QStringLiteral("moves"), static_cast<qint64>(moves)}};
}

}  // namespace vexa::host::commands
