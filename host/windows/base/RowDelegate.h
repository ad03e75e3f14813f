#pragma once
// How the window's views draw their rows: all of one height, a row that has the focus as a whole, and how far one is in
// a file: the time that is left beside its title, a line of progress below it. Main thread.

#include <QStyledItemDelegate>

namespace vexa::host {

/// What models tell of what was begun: the part that was heard, from 0 to 1, and the time that is left, as text. Empty
/// for what was not.
enum RowRole { kProgressRole = Qt::UserRole + 1, kTimeLeftRole };

class RowDelegate final : public QStyledItemDelegate {
public:
    static constexpr int kHeight = 28;

    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;
};

}  // namespace vexa::host
