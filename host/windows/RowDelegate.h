#pragma once
// How the window's views draw their rows: all of one height, and a row that has the focus as a whole. Main thread.

#include <QStyledItemDelegate>

#include <algorithm>

namespace vexa::host {

class RowDelegate final : public QStyledItemDelegate {
public:
    static constexpr int kHeight = 28;

    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
        const QSize size = QStyledItemDelegate::sizeHint(option, index);
        return {size.width(), std::max(size.height(), kHeight)};
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        // What is focused, but not selected, still has to be seen.
        if (option->state & QStyle::State_Selected) option->state &= ~QStyle::State_HasFocus;
    }
};

}  // namespace vexa::host
