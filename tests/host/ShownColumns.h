#pragma once
// What a table shows to the eye.

#include <QHeaderView>
#include <QTableView>

/// As the eye meets them, from the left. A column that shows a mark in place of its caption is named by that.
inline QStringList ShownColumns(const QTableView& view) {
    QStringList captions;
    const QHeaderView* header = view.horizontalHeader();
    for (int place = 0; place < header->count(); ++place)
        if (const int column = header->logicalIndex(place); !header->isSectionHidden(column))
            captions += view.model()->headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString();
    return captions;
}
