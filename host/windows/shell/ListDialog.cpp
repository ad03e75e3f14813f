#include "ListDialog.h"

#include "RowDelegate.h"

#include <QBoxLayout>
#include <QDialogButtonBox>
#include <QPushButton>

namespace vexa::host {

ListDialog::ListDialog(const QString& title, const QStringList& headers, const WindowTexts& texts, QWidget* below,
                       QWidget* parent)
    : QDialog(parent), FList(new QTreeWidget) {
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(title);
    FList->setAccessibleName(title);
    FList->setRootIsDecorated(false);
    FList->setUniformRowHeights(true);
    FList->setAlternatingRowColors(true);
    FList->setAllColumnsShowFocus(true);
    FList->setItemDelegate(new RowDelegate(FList));
    FList->setHeaderLabels(headers);
    auto* buttons = new QDialogButtonBox;
    buttons->addButton(texts("Close"), QDialogButtonBox::RejectRole)->setDefault(true);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* whole = new QVBoxLayout(this);
    whole->addWidget(FList, 1);
    if (below) whole->addWidget(below);
    whole->addWidget(buttons);
}

void ListDialog::Add(const QString& first, const QString& second) {
    FList->addTopLevelItem(new QTreeWidgetItem({first, second}));
}

}  // namespace vexa::host
