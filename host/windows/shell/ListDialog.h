#pragma once
// A dialog with a list of two columns and a button that closes it. Main thread.

#include "WindowTexts.h"

#include <QDialog>
#include <QTreeWidget>

namespace vexa::host {

class ListDialog final : public QDialog {
public:
    /// The dialog deletes itself when it is closed. `below`, which may be null, stands between list and button.
    ListDialog(const QString& title, const QStringList& headers, const WindowTexts& texts, QWidget* below,
               QWidget* parent);

    QTreeWidget* List() const noexcept { return FList; }
    void Add(const QString& first, const QString& second);

private:
    QTreeWidget* const FList;
};

}  // namespace vexa::host
