#pragma once
// Draws rows of two lines: picture, title, and below it what TableModel::kSecondLineRole says; at the right a mark for
// a local copy. The row under the mouse and the focused row have buttons there. Main thread.

#include "RowDelegate.h"

#include <QIcon>

#include <functional>
#include <optional>
#include <vector>

namespace vexa::host {

/// The buttons of a row, in the order shown.
enum class RowButton { Play, PlayNext, Fetch, Done };

QIcon RowButtonIcon(RowButton button);

class ListRowDelegate final : public RowDelegate {
public:
    static constexpr int kListHeight = 56;

    /// `isOffered` says which buttons there are at present; Fetch and Done are shown only on rows for which they make
    /// sense. `parent` is the view.
    ListRowDelegate(std::function<bool(RowButton)> isOffered, QWidget& parent);

    /// The button at a place of a row that shows its buttons, given in the view's coordinates; nothing elsewhere.
    std::optional<RowButton> ButtonAt(const QPoint& place, const QRect& row, const QModelIndex& index) const;
    /// The place of a row's button; empty if the row does not have it.
    QRect PlaceOf(RowButton button, const QRect& row, const QModelIndex& index) const;
    /// The button under the mouse, which is emphasised.
    void SetHovered(const QModelIndex& index, std::optional<RowButton> button);
    QModelIndex HoveredRow() const { return FHovered; }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

private:
    std::vector<RowButton> ButtonsOf(const QModelIndex& index) const;
    bool ShowsButtons(const QModelIndex& index) const;
    void PaintTexts(QPainter& painter, const QStyleOptionViewItem& row, const QModelIndex& index, QRect place) const;

    const std::function<bool(RowButton)> FIsOffered;
    QWidget& FView;
    QPersistentModelIndex FHovered;
    std::optional<RowButton> FHoveredButton;
};

}  // namespace vexa::host
