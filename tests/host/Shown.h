#pragma once
// What a user sees of windows.

#include "ClampedLabel.h"

#include <QHeaderView>
#include <QLabel>
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

/// The texts of the visible labels, those that may take several lines first.
inline QStringList ShownTexts(const QWidget& window) {
    QStringList texts;
    for (const auto* label : window.findChildren<vexa::host::ClampedLabel*>())
        if (label->isVisible()) texts += label->Text();
    for (const auto* label : window.findChildren<QLabel*>())
        if (label->isVisible()) texts += label->text();
    return texts;
}
