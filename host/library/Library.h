#pragma once
// A storage of the music library, as the host's own code uses it: what it is, its fields and trees, its rows' pictures
// and its commands, without the interfaces' out arguments and result codes. Main thread unless said.
//
// A LibraryStorage holds references to a plug-in's object: it goes before the plug-ins are unloaded.

#include "MusicLibrary.h"
#include "PropertyStore.h"

#include <QStringList>

#include <optional>
#include <stdexcept>
#include <vector>

namespace vexa::host {

/// Why something about the library failed, for the user to read.
class LibraryError : public std::runtime_error {
public:
    explicit LibraryError(const QString& message) : std::runtime_error(message.toStdString()) {}
    QString Message() const { return QString::fromUtf8(what()); }
};

struct LibraryField {
    QString Name;
    IVEXAMLDataField::FieldType Type = IVEXAMLDataField::Text;
    std::int32_t Flags = 0;                                 // IVEXAMLDataField::Flags
    std::optional<std::int32_t> GroupingImage;              // icon of tree nodes of this field
    Ref<IVEXAMLDataFieldDisplayValue> DisplayValues;        // null: values are shown as they are
    IVEXAMLDataField::Roles Role = IVEXAMLDataField::None;  // no two fields of a storage have the same

    bool Is(IVEXAMLDataField::Flags flag) const noexcept { return (Flags & flag) != 0; }
    bool IsNumber() const noexcept { return Type == IVEXAMLDataField::DateTime || Type == IVEXAMLDataField::Duration; }
    /// Whether rows can be asked for it. A field that the user never sees and that has an icon is there for the nodes
    /// of trees alone, whatever else its storage says of it.
    bool HasRows() const noexcept {
        return Is(IVEXAMLDataField::Readable) && !(Is(IVEXAMLDataField::Internal) && GroupingImage);
    }
    /// What a person is shown for a value.
    QString Shown(const QString& value) const;
};

struct GroupingPreset {
    QString ID;
    QString Caption;  // the storage's own where the preset has none
    Ref<IVEXAMLGroupingTreeDataProvider> Provider;
};

/// One level of a way in a tree.
struct TreePair {
    QString Field;
    PropertyValue Value;
};

/// Where the library keeps a file.
struct LibraryPlace {
    std::vector<TreePair> Node;     // the top level first
    Ref<IVEXAMLDataFilter> Filter;  // the rows to select; null: the row of the file itself
};

class LibraryStorage {
public:
    /// The storage `id`, or the active one when `id` is empty. Throws LibraryError when there is none.
    explicit LibraryStorage(MusicLibraryService& library, const QString& id = {});

    const QString& ID() const noexcept { return FID; }
    /// Anew at every call: the user's language may have changed.
    QString Caption() const;
    bool Can(IVEXAMLExtensionDataStorage::CapabilityFlags capability) const;

    /// All fields, in the storage's order. Read once.
    const std::vector<LibraryField>& Fields() const noexcept { return FFields; }
    /// Null when the storage has none of that name. Names are compared exactly.
    const LibraryField* Field(const QString& name) const noexcept;
    /// The field of the rows that has the role; null when none has.
    const LibraryField* FieldOf(IVEXAMLDataField::Roles role) const noexcept;
    /// The field of the rows that names their files; null when there is none.
    const LibraryField* FileField() const noexcept;
    /// The names that the storage gives for a purpose, those of fields that it lists.
    QStringList FieldNames(LibrarySchema schema) const;
    std::vector<GroupingPreset> Presets() const;

    /// Any thread.
    const Ref<IVEXAMLDataProvider>& Rows() const noexcept { return FRows; }
    /// Null when it does not have the interface.
    template <class Interface>
    Ref<Interface> Offered() const noexcept {
        return Query<Interface>(FObject.Get());
    }
    /// Null when the storage is none of subscriptions.
    Ref<IVEXAMLSubscriptionStorage> Subscriptions() const noexcept { return Offered<IVEXAMLSubscriptionStorage>(); }

    /// Where the file is; nothing when it is not in this storage, or the storage has no such command.
    std::optional<LibraryPlace> Find(const QString& file) const;
    /// The picture of a row, of which `values` are given by field name; null when it has none. Any thread; may take as
    /// long as a picture takes to come.
    Ref<IVEXAImageContainer> AlbumArt(const std::vector<TreePair>& values) const;

private:
    QString FID;
    Ref<IVEXAMLExtensionDataStorage> FObject;
    Ref<IVEXAMLDataProvider> FRows;
    std::vector<LibraryField> FFields;
};

}  // namespace vexa::host
