#include "FileInfoService.h"

#include "AudioTags.h"
#include "Guarded.h"
#include "Strings.h"

namespace vexa::host {

namespace {

/// Describes a local file by its tags; properties that the tags do not give stay as they were.
bool Describe(const QString& file, IVEXAFileInfo& info) {
    const QString fileName = LocalFileName(file);
    const auto tags = fileName.isEmpty() ? std::nullopt : ReadAudioTags(fileName);
    if (!tags) return false;
    const std::pair<std::int32_t, const QString&> texts[] = {
        {IVEXAFileInfo::Album, tags->Album},         {IVEXAFileInfo::AlbumArtist, tags->AlbumArtist},
        {IVEXAFileInfo::Artist, tags->Artist},       {IVEXAFileInfo::Comment, tags->Comment},
        {IVEXAFileInfo::Copyright, tags->Copyright}, {IVEXAFileInfo::Date, tags->Date},
        {IVEXAFileInfo::Genre, tags->Genre},         {IVEXAFileInfo::Title, tags->Title},
    };
    for (const auto& [id, text] : texts)
        if (!text.isEmpty()) info.SetValueAsObject(id, MakeString(text).Get());
    if (tags->Duration > 0) info.SetValueAsFloat(IVEXAFileInfo::Duration, tags->Duration);
    return true;
}

}  // namespace

HResult FileInfoService::GetFileInfo(IVEXAString* file, std::uint32_t flags, IVEXAFileInfo* info) noexcept {
    if (!info) return E_POINTER;
    return Guarded("describing a file", [&] {
        const QString name = ToQString(file);
        const Ref<IVEXAString> asked = MakeString(name);
        bool isDescribed = false;
        info->BeginUpdate();
        if (!(flags & FromFileOnly)) {
            for (const auto& extension : FExtensions.Copy()) {
                isDescribed = Succeeded(extension->QueryFileInfo(asked.Get(), info));
                if (isDescribed) break;
            }
        }
        isDescribed = isDescribed || Describe(name, *info);
        if (isDescribed) info->SetValueAsObject(IVEXAFileInfo::FileName, MakeString(name).Get());
        info->EndUpdate();
        return isDescribed ? S_OK : E_FAIL;
    });
}

}  // namespace vexa::host
