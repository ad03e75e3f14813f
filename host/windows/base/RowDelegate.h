#pragma once
// Draws the rows of the window's views: all of one height, the focus for the row as a whole, and the progress in a
// file: the time left beside its title, and a line below the title. Main thread.

#include <QStyledItemDelegate>

namespace vexa::host {

/// The roles by which models give the progress in a begun file: the part that was heard, from 0 to 1, and the time
/// left, as text. Both are empty for other files.
enum RowRole { kProgressRole = Qt::UserRole + 1, kTimeLeftRole, kShortTimeLeftRole };

class RowDelegate : public QStyledItemDelegate {
public:
    static constexpr int kHeight = 28, kCoverSide = 22;

    explicit RowDelegate(QObject* parent = nullptr, int height = kHeight)
        : QStyledItemDelegate(parent), FHeight(height) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override;

private:
    const int FHeight;
};

}  // namespace vexa::host
