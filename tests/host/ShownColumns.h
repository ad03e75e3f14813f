#pragma once
// The columns that a user sees in a table.

#include <QHeaderView>
#include <QTableView>

/// The captions of the visible columns from left to right. A column whose header shows a mark has its accessible name.
inline QStringList ShownColumns(const QTableView& view) {
    QStringList captions;
    const QHeaderView* header = view.horizontalHeader();
    for (int place = 0; place < header->count(); ++place)
        if (const int column = header->logicalIndex(place); !header->isSectionHidden(column))
            captions += view.model()->headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString();
    return captions;
}
