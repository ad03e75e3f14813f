#pragma once
// The sources below a node of the tree, such as podcasts below “Subscriptions”, as a grid of pictures with the numbers
// of untouched rows. A click or Enter opens one; typed letters jump. Main thread.

#include "NodeInfo.h"
#include "Tree.h"

#include <QHash>
#include <QListView>

#include <memory>
#include <vector>

namespace vexa::host {

class Covers;
class SourcesModel;

class CoverGrid final : public QListView {
    Q_OBJECT
public:
    static constexpr int kCoverSide = 128;
    enum class Order { Newest, Name, Untouched };

    explicit CoverGrid(QWidget* parent = nullptr);

    /// Null for none. Outlives the grid, or is replaced by null before.
    void SetCovers(Covers* covers);
    /// What is known of the sources comes later, and stays known meanwhile.
    void SetSources(std::vector<TreeNode> sources);
    void SetInfos(QHash<QString, NodeInfo> infos);
    const std::vector<TreeNode>& Sources() const noexcept;
    Order SortOrder() const noexcept;
    void SetOrder(Order order);

Q_SIGNALS:
    /// The value of the source's node.
    void SourceChosen(const QString& value);

protected:
    void keyPressEvent(QKeyEvent* event) override;

private:
    SourcesModel* const FModel;
};

}  // namespace vexa::host
