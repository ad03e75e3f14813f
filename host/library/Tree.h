#pragma once
// A grouping tree: its nodes, level by level as they are opened, and what a node means for the rows. Main thread.
//
//     Tree tree(storage.Presets().front().Provider);
//     for (const TreeNode& node : tree.Children({})) …                  // the top level
//     const auto way = tree.FindByValues({u"03" "1"_s});               // a node, with those above it
//     for (const TreeNode& node : tree.Children(way->back())) …

#include "Library.h"

#include <optional>
#include <vector>

namespace vexa::host {

/// The host's selection object: a way in a tree.
class TreeSelection final : public RefCountedObject<IVEXAMLGroupingTreeSelection> {
public:
    explicit TreeSelection(std::vector<TreePair> pairs = {}) : FPairs(std::move(pairs)) {}

    std::int32_t GetCount() noexcept override { return static_cast<std::int32_t>(FPairs.size()); }
    HResult GetValue(std::int32_t index, IVEXAString** field, Variant* value) noexcept override;

private:
    const std::vector<TreePair> FPairs;
};

/// The pairs of anybody's selection object; none for an absent one.
std::vector<TreePair> ReadSelection(IVEXAMLGroupingTreeSelection* selection);

struct TreeNode {
    QString Caption;  // shown as it is
    std::uint32_t Flags = 0;
    std::int32_t Image = 0;
    TreePair Pair;  // what the node adds to a selection

    bool HasChildren() const noexcept { return (Flags & IVEXAMLGroupingTreeDataProviderSelection::HasChildren) != 0; }
    bool IsStandalone() const noexcept { return (Flags & IVEXAMLGroupingTreeDataProviderSelection::Standalone) != 0; }
    /// The value as a text: what tells the node from its siblings, also after its caption has changed.
    QString Value() const;
};

/// A node and those above it, the top level first. Empty: the root.
using TreeWay = std::vector<TreeNode>;
/// What selects its node.
std::vector<TreePair> PairsOf(const TreeWay& way);

class Tree {
public:
    explicit Tree(Ref<IVEXAMLGroupingTreeDataProvider> provider) : FProvider(std::move(provider)) {}

    /// The top level. Empty when there is nothing, or the provider fails.
    std::vector<TreeNode> Children() const { return List({}); }
    /// The nodes below `parent`.
    std::vector<TreeNode> Children(const TreeNode& parent) const { return List({parent.Pair}); }
    bool Can(IVEXAMLGroupingTreeDataProvider::Capabilities capability) const {
        return (FProvider->GetCapabilities() & capability) != 0;
    }

    /// The node that is reached by the values, level by level; nothing when one of them is not there.
    std::optional<TreeWay> FindByValues(const QStringList& values) const;

    /// Adds the conditions that a node means to a filter: those of the whole way to it, so that a source below
    /// "new" means what is new of that source. Throws LibraryError when the provider cannot.
    void AddConditions(const std::vector<TreePair>& node, IVEXAMLDataFilter* filter) const;
    /// A filter of them alone.
    Ref<IVEXAMLDataFilter> Conditions(const std::vector<TreePair>& node) const;

private:
    std::vector<TreeNode> List(std::vector<TreePair> selection) const;

    Ref<IVEXAMLGroupingTreeDataProvider> FProvider;
};

}  // namespace vexa::host
