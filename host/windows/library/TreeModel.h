#pragma once
// The library's tree as a model for the toolkit's views. Nodes are read level by level as they are opened. A reload
// matches nodes by their values and touches only what has changed, so that a view keeps its selection and open nodes.
// Main thread.

#include "Tree.h"

#include <QAbstractItemModel>

#include <memory>
#include <vector>

namespace vexa::host {

class Covers;

class TreeModel final : public QAbstractItemModel {
    Q_OBJECT
public:
    explicit TreeModel(QObject* parent = nullptr);
    ~TreeModel() override;

    /// Null for none; then there are no nodes.
    void SetProvider(Ref<IVEXAMLGroupingTreeDataProvider> provider);
    const Ref<IVEXAMLGroupingTreeDataProvider>& Provider() const noexcept { return FProvider; }
    void Reload();
    /// The pictures of sources; null for none. Outlives the model, or is replaced by null before.
    void SetCovers(Covers* covers) noexcept { FCovers = covers; }
    static constexpr int kCoverSide = 28;
    /// Draws the icons anew.
    void Repaint();

    /// Whether a node of the top level has nodes below it. Nodes opened already are not read again.
    bool HasLeaves() const;

    /// The path to a node; empty for an invalid index.
    TreePath Path(const QModelIndex& index) const;
    /// The node at the path of `values`; the levels above it are read as needed.
    QModelIndex Find(const QStringList& values);

    QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
    QModelIndex parent(const QModelIndex& index) const override;
    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& = {}) const override { return 1; }
    bool hasChildren(const QModelIndex& parent = {}) const override;
    bool canFetchMore(const QModelIndex& parent) const override;
    void fetchMore(const QModelIndex& parent) override;
    QVariant data(const QModelIndex& index, int role) const override;

private:
    struct Node;

    Node* NodeOf(const QModelIndex& index) const;
    QModelIndex IndexOf(const Node& node) const;
    std::vector<TreeNode> Read(const Node& node) const;
    void Update(Node& node);
    QVariant Picture(const TreeNode& node) const;

    Ref<IVEXAMLGroupingTreeDataProvider> FProvider;
    std::unique_ptr<Node> FRoot;
    Covers* FCovers = nullptr;
};

}  // namespace vexa::host
