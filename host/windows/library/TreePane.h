#pragma once
// The library's tree. Main thread.

#include "Pane.h"
#include "TreeModel.h"
#include "WindowTexts.h"

#include <QTimer>
#include <QWidget>

class QTreeView;

namespace vexa::host {

class TreePane final : public Pane<QWidget> {
    Q_OBJECT
public:
    explicit TreePane(const LanguageService& language, QWidget* parent = nullptr);

    TreeModel& Model() noexcept { return *FModel; }
    QTreeView* View() const noexcept { return FView; }

    /// Shows a tree and selects the node at the path of `values`, or else the first node.
    void SetProvider(Ref<IVEXAMLGroupingTreeDataProvider> provider, const QStringList& values);
    TreePath SelectedPath() const;
    QStringList SelectedValues() const;
    bool Select(const QStringList& values);

Q_SIGNALS:
    void SelectionChanged();
    void MenuWanted(const QPoint& position);

private:
    void Localize() override;
    /// A node is always selected, although the view selects none after a click below the last node, and none in place
    /// of a node that has gone.
    void Reselect();

    const WindowTexts FTexts;
    TreeModel* const FModel;
    QTreeView* const FView;
    QTimer FReselecting;
};

}  // namespace vexa::host
