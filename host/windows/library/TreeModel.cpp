#include "TreeModel.h"

#include "Covers.h"
#include "WindowIcons.h"

#include <QFont>
#include <QGuiApplication>
#include <QSet>

#include <algorithm>
#include <numeric>

namespace vexa::host {

struct TreeModel::Node {
    TreeNode Content;
    Node* Parent = nullptr;
    bool IsRead = false;  // whether the children were read
    std::vector<std::unique_ptr<Node>> Children;

    int Row() const {
        const auto& siblings = Parent->Children;
        const auto found =
            std::find_if(siblings.begin(), siblings.end(), [this](const auto& node) { return node.get() == this; });
        return static_cast<int>(found - siblings.begin());
    }
};

namespace {

QString IconName(std::int32_t image) {
    using Cursor = IVEXAMLGroupingTreeDataProviderSelection;
    switch (image) {
        case Cursor::Source:
            return QStringLiteral("source");
        case Cursor::New:
            return QStringLiteral("new");
        case Cursor::Later:
            return QStringLiteral("later");
        default:
            return QStringLiteral("folder");
    }
}

}  // namespace

TreeModel::TreeModel(QObject* parent) : QAbstractItemModel(parent), FRoot(std::make_unique<Node>()) {}

TreeModel::~TreeModel() = default;

void TreeModel::SetProvider(Ref<IVEXAMLGroupingTreeDataProvider> provider) {
    beginResetModel();
    FProvider = std::move(provider);
    FRoot = std::make_unique<Node>();
    FRoot->Content.Flags = IVEXAMLGroupingTreeDataProviderSelection::HasChildren;
    endResetModel();
    if (FProvider) Update(*FRoot);
}

void TreeModel::Reload() {
    if (FProvider) Update(*FRoot);
}

void TreeModel::Repaint() {
    Q_EMIT layoutChanged();
}

std::vector<TreeNode> TreeModel::Read(const Node& node) const {
    const Tree tree(FProvider);
    auto nodes = node.Parent ? tree.Children(node.Content) : tree.Children();
    if (tree.Can(IVEXAMLGroupingTreeDataProvider::DontSort)) return nodes;
    std::vector<std::size_t> order(nodes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return QString::localeAwareCompare(nodes[a].Caption, nodes[b].Caption) < 0;
    });
    std::vector<TreeNode> sorted;
    sorted.reserve(order.size());
    for (const std::size_t place : order) sorted.push_back(std::move(nodes[place]));
    return sorted;
}

void TreeModel::Update(Node& node) {
    node.IsRead = true;
    const QModelIndex parent = node.Parent ? IndexOf(node) : QModelIndex();
    std::vector<TreeNode> now = Read(node);
    QSet<QString> values;
    for (const TreeNode& child : now) values += child.Value();
    auto& children = node.Children;
    for (int i = static_cast<int>(children.size()) - 1; i >= 0; --i) {
        if (values.contains(children[static_cast<std::size_t>(i)]->Content.Value())) continue;
        beginRemoveRows(parent, i, i);
        children.erase(children.begin() + i);
        endRemoveRows();
    }
    for (int i = 0; i < static_cast<int>(now.size()); ++i) {
        TreeNode& wanted = now[static_cast<std::size_t>(i)];
        const auto place = children.begin() + i;
        const auto found = std::find_if(place, children.end(),
                                        [&](const auto& old) { return old->Content.Value() == wanted.Value(); });
        if (found == children.end()) {
            beginInsertRows(parent, i, i);
            auto added = std::make_unique<Node>();
            added->Content = std::move(wanted);
            added->Parent = &node;
            children.insert(place, std::move(added));
            endInsertRows();
            continue;
        }
        if (found != place) {
            const int from = static_cast<int>(found - children.begin());
            beginMoveRows(parent, from, from, parent, i);
            std::rotate(place, found, found + 1);
            endMoveRows();
        }
        Node& child = *children[static_cast<std::size_t>(i)];
        const bool isOther = child.Content.Caption != wanted.Caption || child.Content.Image != wanted.Image ||
                             child.Content.Flags != wanted.Flags;
        child.Content = std::move(wanted);
        if (isOther) Q_EMIT dataChanged(index(i, 0, parent), index(i, 0, parent));
        if (child.IsRead) Update(child);
    }
}

bool TreeModel::HasLeaves() const {
    const auto hasLeaves = [this](const auto& node) {
        return node->IsRead ? !node->Children.empty() : node->Content.HasChildren() && !Read(*node).empty();
    };
    return FProvider && std::any_of(FRoot->Children.rbegin(), FRoot->Children.rend(), hasLeaves);
}

TreeModel::Node* TreeModel::NodeOf(const QModelIndex& index) const {
    return index.isValid() ? static_cast<Node*>(index.internalPointer()) : FRoot.get();
}

QModelIndex TreeModel::IndexOf(const Node& node) const {
    return node.Parent ? createIndex(node.Row(), 0, &node) : QModelIndex();
}

TreePath TreeModel::Path(const QModelIndex& index) const {
    std::vector<const Node*> upwards;
    for (const Node* node = NodeOf(index); node->Parent; node = node->Parent) upwards.push_back(node);
    TreePath path;
    for (auto node = upwards.rbegin(); node != upwards.rend(); ++node) path.push_back((*node)->Content);
    return path;
}

QModelIndex TreeModel::Find(const QStringList& values) {
    QModelIndex found;
    for (const QString& value : values) {
        Node* node = NodeOf(found);
        if (!FProvider) return {};
        if (!node->IsRead) Update(*node);
        const auto child = std::find_if(node->Children.begin(), node->Children.end(),
                                        [&](const auto& candidate) { return candidate->Content.Value() == value; });
        if (child == node->Children.end()) return {};
        found = IndexOf(**child);
    }
    return found;
}

QModelIndex TreeModel::index(int row, int column, const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    if (column != 0 || row < 0 || row >= static_cast<int>(node->Children.size())) return {};
    return createIndex(row, 0, node->Children[static_cast<std::size_t>(row)].get());
}

QModelIndex TreeModel::parent(const QModelIndex& index) const {
    return index.isValid() ? IndexOf(*NodeOf(index)->Parent) : QModelIndex();
}

int TreeModel::rowCount(const QModelIndex& parent) const {
    return static_cast<int>(NodeOf(parent)->Children.size());
}

bool TreeModel::hasChildren(const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    return node->IsRead ? !node->Children.empty() : node->Content.HasChildren();
}

bool TreeModel::canFetchMore(const QModelIndex& parent) const {
    const Node* node = NodeOf(parent);
    return FProvider && !node->IsRead && node->Content.HasChildren();
}

void TreeModel::fetchMore(const QModelIndex& parent) {
    if (canFetchMore(parent)) Update(*NodeOf(parent));
}

QVariant TreeModel::Picture(const TreeNode& node) const {
    if (FCovers && node.Image == IVEXAMLGroupingTreeDataProviderSelection::Source) {
        const QPixmap cover =
            FCovers->Get(node.Pair.Field, node.Value(), node.Caption, kCoverSide, qGuiApp->devicePixelRatio());
        if (!cover.isNull()) return cover;
    }
    return WindowIcon(IconName(node.Image));
}

QVariant TreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    const Node& node = *NodeOf(index);
    switch (role) {
        case Qt::DisplayRole:
            return node.Content.Caption.simplified();
        case Qt::ToolTipRole:
            return QString(u"<span>" + node.Content.Caption.toHtmlEscaped() + u"</span>");
        case Qt::DecorationRole:
            return Picture(node.Content);
        case Qt::FontRole:
            // Only at the top level, because otherwise all nodes below a heading would be headings.
            if (node.Content.IsStandalone() && node.Parent == FRoot.get()) {
                QFont font;
                font.setWeight(QFont::DemiBold);
                return font;
            }
            return {};
        default:
            return {};
    }
}

}  // namespace vexa::host
