#pragma once
// Parts of the tests' storages: fields, nodes, and a storage of rows in memory.

#include "FilterJson.h"
#include "Filters.h"
#include "ObjectList.h"
#include "Properties.h"
#include "Tree.h"

#include <QJsonArray>

#include <algorithm>
#include <functional>
#include <optional>

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

/// A tree of two levels, of which a function gives the nodes below a value; the top level is below "". Each node on a
/// path is a condition.
class TwoLevelTree final : public RefCountedObject<IVEXAMLGroupingTreeDataProvider> {
public:
    using Children = std::function<std::vector<host::TreeNode>(const QString& value)>;
    explicit TwoLevelTree(Children children) : FChildren(std::move(children)) {}

    HResult AddSelectionConditions(IVEXAMLDataFilter* filter, IVEXAMLGroupingTreeSelection* path) noexcept override {
        for (const host::TreePair& pair : host::ReadSelection(path)) {
            const Variant value = host::ToVariant(pair.Value);
            filter->Add(host::MakeString(pair.Field).Get(), &value, nullptr, IVEXAMLFieldFilter::Equals, nullptr);
        }
        return S_OK;
    }
    std::uint32_t GetCapabilities() noexcept override { return HideAllData; }
    HResult ListChildren(IVEXAMLGroupingTreeSelection* parent,
                         IVEXAMLGroupingTreeDataProviderSelection** nodes) noexcept override {
        const auto pairs = host::ReadSelection(parent);
        if (pairs.size() > 1) return E_INVALIDARG;
        const auto list = FChildren(pairs.empty() ? QString() : std::get<QString>(pairs[0].Value));
        *nodes = list.empty() ? nullptr : Ref<FixedNodes>(new FixedNodes(list)).Detach();
        return list.empty() ? E_FAIL : S_OK;
    }
    HResult GetFieldForAlphabeticIndex(IVEXAString**) noexcept override { return E_NOTIMPL; }

private:
    const Children FChildren;
};

/// A storage of rows in memory. It supports conditions of one field and one value, no arrays and no groups.
template <class Row, class... More>
class RowStorage
    : public host::PropertyList<IVEXAPropertyList2, IVEXAMLExtensionDataStorage, IVEXAMLDataProvider, More...> {
public:
    RowStorage(const QString& id, const QString& caption, std::vector<Row> rows) : Rows(std::move(rows)) {
        this->SetValueAsObject(IVEXAMLExtensionDataStorage::ID, host::MakeString(id).Get());
        this->SetValueAsObject(IVEXAMLExtensionDataStorage::Caption, host::MakeString(caption).Get());
        this->SetValueAsInt32(IVEXAMLExtensionDataStorage::Capabilities,
                              this->Filtering | this->Grouping | this->Searching);
    }
    IUnknown* Identity() { return static_cast<IVEXAPropertyList2*>(this); }

    void Initialize(IVEXAMLDataStorageManager* manager) noexcept override {
        Manager = Ref<IVEXAMLDataStorageManager>(manager);
    }
    void Finalize() noexcept override { Manager = nullptr; }
    HResult LoadConfig(IUnknown*) noexcept override { return S_OK; }
    HResult SaveConfig(IUnknown*) noexcept override { return S_OK; }
    void FlushCache() noexcept override {}
    HResult GetGroupingPresets(std::int32_t schema, IVEXAMLGroupingPresets* presets) noexcept override {
        if (schema != kSchemaTree) return S_OK;
        const Ref<TwoLevelTree> tree(new TwoLevelTree([this](const QString& value) { return NodesBelow(value); }));
        return presets->Add(host::MakeString("Default").Get(), nullptr, 0, tree.Get());
    }
    HResult GetData(IVEXAObjectList* fields, IVEXAMLDataFilter* filter, IUnknown** data) noexcept override {
        *data = nullptr;
        const QStringList names = host::ToQStringList(fields);
        QStringList conditions, order;
        auto selected = Select(filter, &conditions);
        if (!selected) return E_FAIL;
        const QJsonObject asked = host::FilterToJson(*filter);
        const QJsonArray sort = asked["sort"_L1].toArray();
        for (auto key = sort.end(); key != sort.begin();) {
            const QString field = (*--key)["field"_L1].toString();
            const int direction = (*key)["direction"_L1].toInt();
            std::stable_sort(selected->begin(), selected->end(), [&](const Row& a, const Row& b) {
                return direction == IVEXAMLSortDirection::Descending ? Value(b, field) < Value(a, field)
                                                                     : Value(a, field) < Value(b, field);
            });
            order.prepend(QString(field + u':' + QString::number(direction)));
        }
        const int limit = asked["limit"_L1].toInt(), offset = asked["offset"_L1].toInt();
        OnAsked(QStringList{names.join(u' '), conditions.join(u' '), order.join(u' '),
                            QString(QString::number(offset) + u',' + QString::number(limit))}
                    .join(u';'));
        std::vector<QStringList> rows;
        for (std::size_t i = limit > 0 ? static_cast<std::size_t>(offset) : 0; i < selected->size(); ++i) {
            if (limit > 0 && rows.size() == static_cast<std::size_t>(limit)) break;
            rows.emplace_back();
            for (const QString& name : names) rows.back() += Value((*selected)[i], name);
        }
        Ref<IUnknown> result(new host::ObjectList);
        if (!rows.empty()) result = Ref<IUnknown>(new TextRows(std::move(rows)));
        *data = result.Detach();
        return S_OK;
    }

    std::vector<Row> Rows;
    Ref<IVEXAMLDataStorageManager> Manager;

protected:
    virtual QString Value(const Row& row, const QString& field) const = 0;
    /// Whether a row meets the condition of a node or of a field.
    virtual bool Meets(const Row& row, const QString& field, const QString& value) const = 0;
    virtual bool Contains(const Row& row, const QString& search) const = 0;
    virtual std::vector<host::TreeNode> NodesBelow(const QString& value) const = 0;
    /// A request, as "Title Duration;State=1;Title:2;2,1": fields, conditions, order, offset and limit. Any thread.
    virtual void OnAsked(const QString&) {}

    /// The rows that satisfy a filter's conditions; nothing when it has others than this storage supports.
    std::optional<std::vector<Row>> Select(IVEXAMLDataFilter* filter, QStringList* conditions = nullptr) const {
        std::vector<Row> found = Rows;
        const QString search = host::TextOf(filter, IVEXAMLDataFilter::SearchText);
        std::erase_if(found, [&](const Row& row) { return !Contains(row, search); });
        for (std::int32_t i = 0; i < filter->GetChildCount(); ++i) {
            Ref<IVEXAMLFieldFilter> child;
            if (Failed(filter->GetChild(i, IVEXAMLFieldFilter::IID, child.PutVoid()))) return {};
            const QString field = host::TextOf(child.Get(), IVEXAMLFieldFilter::Field),
                          value = host::TextOf(child.Get(), IVEXAMLFieldFilter::Value1);
            if (conditions) *conditions += QString(field + u'=' + value);
            std::erase_if(found, [&](const Row& row) { return !Meets(row, field, value); });
        }
        return found;
    }
};

}  // namespace tests
