#pragma once
// Parts of the tests' storages: fields, rows and nodes made of lists.

#include "Filters.h"
#include "ObjectList.h"
#include "Tree.h"

namespace tests {

using namespace vexa;

/// `flags` are IVEXAMLDataField::Flags.
inline Ref<IVEXAMLDataField> MakeField(const QString& name, std::int32_t type, std::int32_t flags,
                                       std::int32_t role = IVEXAMLDataField::None) {
    const Ref<IVEXAMLDataField> field(new host::DataField);
    field->SetValueAsObject(IVEXAMLDataField::Name, host::MakeString(name).Get());
    field->SetValueAsInt32(IVEXAMLDataField::Type, type);
    field->SetValueAsInt32(IVEXAMLDataField::FlagBits, flags);
    field->SetValueAsInt32(IVEXAMLDataField::Role, role);
    return field;
}

/// Rows of texts, which are converted when a number is asked for.
class TextRows final : public RefCountedObject<IVEXAMLDataProviderSelection> {
public:
    explicit TextRows(std::vector<QStringList> rows) : FRows(std::move(rows)) {}
    double GetValueAsFloat(std::int32_t column) noexcept override { return Value(column).toDouble(); }
    std::int32_t GetValueAsInt32(std::int32_t column) noexcept override { return Value(column).toInt(); }
    std::int64_t GetValueAsInt64(std::int32_t column) noexcept override { return Value(column).toLongLong(); }
    const char16_t* GetValueAsString(std::int32_t column, std::int32_t* length) noexcept override {
        *length = static_cast<std::int32_t>(Value(column).size());
        return reinterpret_cast<const char16_t*>(Value(column).constData());
    }
    Bool32 NextRow() noexcept override { return ++FRow < FRows.size() ? kTrue : kFalse; }

private:
    const QString& Value(std::int32_t column) const { return FRows[FRow][column]; }
    std::vector<QStringList> FRows;
    std::size_t FRow = 0;
};

/// A fixed list of at least one node.
class FixedNodes final : public RefCountedObject<IVEXAMLGroupingTreeDataProviderSelection> {
public:
    explicit FixedNodes(std::vector<host::TreeNode> nodes) : FNodes(std::move(nodes)) {}
    HResult GetDisplayValue(IVEXAString** text) noexcept override { return host::PutString(Node().Caption, text); }
    std::uint32_t GetFlags() noexcept override { return Node().Flags; }
    HResult GetImageIndex(std::int32_t* index) noexcept override { return *index = Node().Image, S_OK; }
    HResult GetValue(IVEXAString** field, Variant* value) noexcept override {
        *value = host::ToVariant(Node().Pair.Value);
        return host::PutString(Node().Pair.Field, field);
    }
    Bool32 NextRow() noexcept override { return ++FNode < FNodes.size() ? kTrue : kFalse; }

private:
    const host::TreeNode& Node() const { return FNodes[FNode]; }
    std::vector<host::TreeNode> FNodes;
    std::size_t FNode = 0;
};

}  // namespace tests
