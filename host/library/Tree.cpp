#include "Tree.h"

#include "Filters.h"
#include "Guarded.h"
#include "HostReasons.h"
#include "VEXA.Runtime.Threads.h"

#include <algorithm>

namespace vexa::host {

namespace {

// A limit, so that a provider whose list never ends does not hang the host.
constexpr std::size_t kMaxNodes = 1'000'000;

TreeNode ReadNode(IVEXAMLGroupingTreeDataProviderSelection& nodes) {
    TreeNode node;
    Ref<IVEXAString> text, field;
    Variant value;
    if (Succeeded(nodes.GetDisplayValue(text.Put()))) node.Caption = ToQString(text.Get());
    node.Flags = nodes.GetFlags();
    if (Failed(nodes.GetImageIndex(&node.Image))) node.Image = IVEXAMLGroupingTreeDataProviderSelection::Folder;
    if (Succeeded(nodes.GetValue(field.Put(), &value))) node.Pair = {ToQString(field.Get()), FromVariant(value)};
    return node;
}

}  // namespace

HResult TreeSelection::GetValue(std::int32_t index, IVEXAString** field, Variant* value) noexcept {
    if (!field || !value) return E_POINTER;
    *field = nullptr;
    *value = {};
    return Guarded("giving a way in a tree", [&] {
        if (index < 0 || index >= GetCount()) return E_INVALIDARG;
        const TreePair& pair = FPairs[static_cast<std::size_t>(index)];
        *value = ToVariant(pair.Value);
        return PutString(pair.Field, field);
    });
}

std::vector<TreePair> ReadSelection(IVEXAMLGroupingTreeSelection* selection) {
    std::vector<TreePair> pairs;
    for (std::int32_t i = 0; selection && i < selection->GetCount(); ++i) {
        Ref<IVEXAString> field;
        Variant value;
        if (Succeeded(selection->GetValue(i, field.Put(), &value)))
            pairs.push_back({ToQString(field.Get()), FromVariant(value)});
    }
    return pairs;
}

QString TreeNode::Value() const {
    return ToText(Pair.Value);
}

std::vector<TreeNode> Tree::List(std::vector<TreePair> selection) const {
    VEXA_ASSERT_MAIN_THREAD();
    const Ref<TreeSelection> parent(new TreeSelection(std::move(selection)));
    std::vector<TreeNode> list;
    Ref<IVEXAMLGroupingTreeDataProviderSelection> nodes;
    if (Failed(FProvider->ListChildren(parent.Get(), nodes.Put())) || !nodes) return list;
    do list.push_back(ReadNode(*nodes));
    while (nodes->NextRow() != kFalse && list.size() < kMaxNodes);
    return list;
}

std::optional<TreePath> Tree::FindByValues(const QStringList& values) const {
    TreePath path;
    for (const QString& value : values) {
        const std::vector<TreeNode> level = path.empty() ? Children() : Children(path.back());
        const auto found =
            std::find_if(level.begin(), level.end(), [&](const TreeNode& node) { return node.Value() == value; });
        if (found == level.end()) return {};
        path.push_back(*found);
    }
    return path;
}

std::vector<TreePair> PairsOf(const TreePath& path) {
    std::vector<TreePair> pairs;
    for (const TreeNode& node : path) pairs.push_back(node.Pair);
    return pairs;
}

void Tree::AddConditions(const std::vector<TreePair>& node, IVEXAMLDataFilter* filter) const {
    VEXA_ASSERT_MAIN_THREAD();
    const Ref<TreeSelection> selection(new TreeSelection(node));
    if (Failed(FProvider->AddSelectionConditions(filter, selection.Get())))
        throw LibraryError(Reason(HostReason("NoConditions")));
}

Ref<IVEXAMLDataFilter> Tree::Conditions(const std::vector<TreePair>& node) const {
    const Ref<IVEXAMLDataFilter> filter(new DataFilter);
    AddConditions(node, filter.Get());
    return filter;
}

}  // namespace vexa::host
