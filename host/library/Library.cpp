#include "Library.h"

#include "FileInfo.h"
#include "Guarded.h"
#include "ObjectList.h"
#include "Properties.h"
#include "Tree.h"

#include <algorithm>

namespace vexa::host {

namespace {

LibraryField ReadField(IVEXAMLDataField* object) {
    LibraryField field;
    field.Name = TextOf(object, IVEXAMLDataField::Name);
    field.Type =
        static_cast<IVEXAMLDataField::FieldType>(NumberOf(object, IVEXAMLDataField::Type, IVEXAMLDataField::Text));
    field.Flags = NumberOf(object, IVEXAMLDataField::FlagBits);
    std::int32_t image = 0;
    if (Succeeded(object->GetValueAsInt32(IVEXAMLDataField::GroupingImage, &image))) field.GroupingImage = image;
    object->GetValueAsObject(IVEXAMLDataField::DisplayValue, IVEXAMLDataFieldDisplayValue::IID,
                             field.DisplayValues.PutVoid());
    field.Role = static_cast<IVEXAMLDataField::Roles>(NumberOf(object, IVEXAMLDataField::Role));
    field.UntouchedValue = TextOf(object, IVEXAMLDataField::UntouchedValue);
    field.DoneValue = TextOf(object, IVEXAMLDataField::DoneValue);
    return field;
}

/// Collects the trees that a storage offers.
class Presets final : public RefCountedObject<IVEXAMLGroupingPresets> {
public:
    HResult Add(IVEXAString* id, IVEXAString*, std::uint32_t,
                IVEXAMLGroupingTreeDataProvider* provider) noexcept override {
        if (!id || !provider) return E_INVALIDARG;
        return Guarded("adding a grouping preset", [&] {
            Taken.push_back({ToQString(id), Ref<IVEXAMLGroupingTreeDataProvider>(provider)});
            return S_OK;
        });
    }

    std::vector<GroupingPreset> Taken;
};

}  // namespace

QString LibraryField::Shown(const QString& value) const {
    if (!DisplayValues) return value;
    const Variant variant = ToVariant(value);
    std::int32_t length = 0;
    const char16_t* chars = DisplayValues->GetDisplayValue(&variant, &length);
    return chars ? QString(reinterpret_cast<const QChar*>(chars), length) : value;
}

LibraryStorage::LibraryStorage(MusicLibraryService& library, const QString& id)
    : FID(id.isEmpty() ? library.ActiveStorageID() : id) {
    library.GetStorageByID(MakeString(FID).Get(), IVEXAMLExtensionDataStorage::IID, FObject.PutVoid());
    if (!FObject)
        throw LibraryError(FID.isEmpty() ? QStringLiteral("the library has no storage: load a plug-in that brings one")
                                         : QString(u"the library has no storage \"" + FID + u'"'));
    FRows = Offered<IVEXAMLDataProvider>();
    Ref<IVEXAObjectList> list;
    FObject->GetFields(kSchemaAllFields, list.Put());
    for (std::int32_t i = 0; list && i < list->GetCount(); ++i) {
        Ref<IVEXAMLDataField> field;
        if (Failed(list->GetObject(i, IVEXAMLDataField::IID, field.PutVoid()))) continue;
        LibraryField known = ReadField(field.Get());
        if (!known.HasRows() || FieldOf(known.Role)) known.Role = IVEXAMLDataField::None;
        FFields.push_back(std::move(known));
    }
}

QString LibraryStorage::Caption() const {
    return TextOf(Offered<IVEXAPropertyList>().Get(), IVEXAMLExtensionDataStorage::Caption);
}

bool LibraryStorage::Can(IVEXAMLExtensionDataStorage::CapabilityFlags capability) const {
    return (NumberOf(Offered<IVEXAPropertyList>().Get(), IVEXAMLExtensionDataStorage::Capabilities) & capability) != 0;
}

const LibraryField* LibraryStorage::Field(const QString& name) const noexcept {
    const auto found =
        std::find_if(FFields.begin(), FFields.end(), [&](const LibraryField& field) { return field.Name == name; });
    return found != FFields.end() ? &*found : nullptr;
}

const LibraryField* LibraryStorage::FieldOf(IVEXAMLDataField::Roles role) const noexcept {
    const auto found = std::find_if(FFields.begin(), FFields.end(), [&](const LibraryField& field) {
        return role != IVEXAMLDataField::None && field.Role == role;
    });
    return found != FFields.end() ? &*found : nullptr;
}

const LibraryField* LibraryStorage::FileField() const noexcept {
    const auto found = std::find_if(FFields.begin(), FFields.end(), [](const LibraryField& field) {
        return field.Type == IVEXAMLDataField::FileName && field.HasRows();
    });
    return found != FFields.end() ? &*found : nullptr;
}

QStringList LibraryStorage::FieldNames(LibrarySchema schema) const {
    QStringList names;
    Ref<IVEXAObjectList> list;
    FObject->GetFields(schema, list.Put());
    for (std::int32_t i = 0; list && i < list->GetCount(); ++i) {
        Ref<IVEXAString> name;
        if (Failed(list->GetObject(i, IVEXAString::IID, name.PutVoid()))) continue;
        if (const QString text = ToQString(name.Get()); Field(text)) names += text;
    }
    return names;
}

std::vector<GroupingPreset> LibraryStorage::Presets() const {
    const Ref<host::Presets> presets(new host::Presets);
    FObject->GetGroupingPresets(kSchemaTree, presets.Get());
    return presets->Taken;
}

std::optional<FileLocation> LibraryStorage::Find(const QString& file) const {
    const auto command = Offered<IVEXAMLDataStorageCommandFindInLibrary>();
    if (!command) return {};
    const Ref<FileInfo> info(new FileInfo);
    info->SetValueAsObject(IVEXAFileInfo::FileName, MakeString(file).Get());
    FileLocation location;
    Ref<IVEXAMLGroupingTreeSelection> node;
    if (Failed(command->Find(info.Get(), location.Filter.Put(), node.Put()))) return {};
    location.Node = ReadSelection(node.Get());
    return location;
}

}  // namespace vexa::host
