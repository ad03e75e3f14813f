#pragma once
// A storage of the music library, as the host's own code uses it: its properties, fields, trees, pictures of rows and
// commands, without the interfaces' out arguments and result codes. Main thread unless stated otherwise.
//
// A LibraryStorage holds references to a plug-in's object: destroy it before the plug-ins are unloaded.

#include "MusicLibrary.h"
#include "PropertyStore.h"
#include "VEXA.Runtime.Reason.h"

#include <QStringList>

#include <optional>
#include <vector>

namespace vexa::host {

/// The reason why an operation of the library failed, for the user to read.
class LibraryError : public ReasonError {
public:
    using ReasonError::ReasonError;
};

struct LibraryField {
    QString Name;
    IVEXAMLDataField::FieldType Type = IVEXAMLDataField::Text;
    std::int32_t Flags = 0;                                 // IVEXAMLDataField::Flags
    std::optional<std::int32_t> GroupingImage;              // icon of tree nodes of this field
    Ref<IVEXAMLDataFieldDisplayValue> DisplayValues;        // null: values are shown as they are
    IVEXAMLDataField::Roles Role = IVEXAMLDataField::None;  // at most one field of a storage has a given role
    QString UntouchedValue, DoneValue;                      // of the field with the role State; empty for none

    bool Is(IVEXAMLDataField::Flags flag) const noexcept { return (Flags & flag) != 0; }
    bool IsNumber() const noexcept { return Type == IVEXAMLDataField::DateTime || Type == IVEXAMLDataField::Duration; }
    /// Whether rows have this field. An internal field with a tree icon is for tree nodes only, whatever its other
    /// flags say.
    bool HasRows() const noexcept {
        return Is(IVEXAMLDataField::Readable) && !(Is(IVEXAMLDataField::Internal) && GroupingImage);
    }
    /// The text that the user is shown for a value.
    QString Shown(const QString& value) const;
};

struct GroupingPreset {
    QString ID;
    Ref<IVEXAMLGroupingTreeDataProvider> Provider;
};

/// One level of a path in a tree: a field and its value.
struct TreePair {
    QString Field;
    PropertyValue Value;
};

/// Where a file is found in the library.
struct FileLocation {
    std::vector<TreePair> Node;     // the path to the tree node, top level first
    Ref<IVEXAMLDataFilter> Filter;  // the rows to select; null: the row of the file itself
};

class LibraryStorage {
public:
    /// The storage `id`, or the active one when `id` is empty. Throws LibraryError when there is none.
    explicit LibraryStorage(MusicLibraryService& library, const QString& id = {});

    const QString& ID() const noexcept { return FID; }
    /// Asked for anew at every call, because the user's language may have changed.
    QString Caption() const;
    bool Can(IVEXAMLExtensionDataStorage::CapabilityFlags capability) const;

    /// All fields in the storage's order, read once by the constructor.
    const std::vector<LibraryField>& Fields() const noexcept { return FFields; }
    /// The field with exactly that name; null when there is none.
    const LibraryField* Field(const QString& name) const noexcept;
    /// The field of the rows with that role; null when there is none.
    const LibraryField* FieldOf(IVEXAMLDataField::Roles role) const noexcept;
    /// The field of the rows that contains their file names; null when there is none.
    const LibraryField* FileField() const noexcept;
    /// The names of the fields that the storage gives for `schema`, which is not that of all fields, without those that
    /// Fields() does not have.
    QStringList FieldNames(LibrarySchema schema) const;
    std::vector<GroupingPreset> Presets() const;

    /// The provider of the rows, which any thread may call.
    const Ref<IVEXAMLDataProvider>& Rows() const noexcept { return FRows; }
    /// The same storage with other rows of the same fields, such as those of a preview.
    LibraryStorage WithRows(Ref<IVEXAMLDataProvider> rows) const {
        LibraryStorage other(*this);
        other.FRows = std::move(rows);
        return other;
    }
    /// The storage's interface `Interface`; null when the storage does not have it.
    template <class Interface>
    Ref<Interface> Offered() const noexcept {
        return Query<Interface>(FObject.Get());
    }
    /// Null when the storage does not manage subscriptions.
    Ref<IVEXAMLSubscriptionStorage> Subscriptions() const noexcept { return Offered<IVEXAMLSubscriptionStorage>(); }

    /// Where the file is in this storage; nothing when the storage does not have the file or cannot find files.
    std::optional<FileLocation> Find(const QString& file) const;

private:
    QString FID;
    Ref<IVEXAMLExtensionDataStorage> FObject;
    Ref<IVEXAMLDataProvider> FRows;
    std::vector<LibraryField> FFields;
};

}  // namespace vexa::host
