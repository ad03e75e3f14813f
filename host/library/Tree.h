#pragma once
// A grouping tree: its nodes, read level by level as they are opened, and the conditions that a node puts on the rows.
// Main thread.
//
//     Tree tree(storage.Presets().front().Provider);
//     for (const TreeNode& node : tree.Children({})) …                  // the top level
//     const auto path = tree.FindByValues({u"03" "1"_s});               // a node, with the nodes above it
//     for (const TreeNode& node : tree.Children(path->back())) …

#include "Library.h"

#include <optional>
#include <vector>

namespace vexa::host {

/// The host's selection object: a path in a tree.
class TreeSelection final : public RefCountedObject<IVEXAMLGroupingTreeSelection> {
public:
    explicit TreeSelection(std::vector<TreePair> pairs = {}) : FPairs(std::move(pairs)) {}

    std::int32_t GetCount() noexcept override { return static_cast<std::int32_t>(FPairs.size()); }
    HResult GetValue(std::int32_t index, IVEXAString** field, Variant* value) noexcept override;

private:
    const std::vector<TreePair> FPairs;
};

/// The pairs of a selection object of any implementation; empty for null.
std::vector<TreePair> ReadSelection(IVEXAMLGroupingTreeSelection* selection);

struct TreeNode {
    QString Caption;  // shown as given
    std::uint32_t Flags = 0;
    std::int32_t Image = 0;
    TreePair Pair;  // the node's own pair in a selection

    bool HasChildren() const noexcept { return (Flags & IVEXAMLGroupingTreeDataProviderSelection::HasChildren) != 0; }
    bool IsStandalone() const noexcept { return (Flags & IVEXAMLGroupingTreeDataProviderSelection::Standalone) != 0; }
    /// The value of Pair as text. It distinguishes the node from its siblings, even after its caption has changed.
    QString Value() const;
};

/// A node and the nodes above it, top level first. Empty: the root.
using TreePath = std::vector<TreeNode>;
/// The pairs that select the last node of the path.
std::vector<TreePair> PairsOf(const TreePath& path);

class Tree {
public:
    explicit Tree(Ref<IVEXAMLGroupingTreeDataProvider> provider) : FProvider(std::move(provider)) {}

    /// The nodes of the top level; none when the provider fails.
    std::vector<TreeNode> Children() const { return List({}); }
    /// The nodes below `parent`.
    std::vector<TreeNode> Children(const TreeNode& parent) const { return List({parent.Pair}); }
    bool Can(IVEXAMLGroupingTreeDataProvider::Capabilities capability) const {
        return (FProvider->GetCapabilities() & capability) != 0;
    }

    /// The path to the node with the given values, one per level; nothing when one of them does not exist.
    std::optional<TreePath> FindByValues(const QStringList& values) const;

    /// Adds a node's conditions to a filter: those of the whole path, so that a source below "new" selects only what is
    /// new of that source. Throws LibraryError when the provider cannot add them.
    void AddConditions(const std::vector<TreePair>& node, IVEXAMLDataFilter* filter) const;
    /// A new filter of only these conditions.
    Ref<IVEXAMLDataFilter> Conditions(const std::vector<TreePair>& node) const;

private:
    std::vector<TreeNode> List(std::vector<TreePair> selection) const;

    Ref<IVEXAMLGroupingTreeDataProvider> FProvider;
};

}  // namespace vexa::host
