#include "ProblemDialog.h"

#include "RowDelegate.h"

#include <QBoxLayout>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>

namespace vexa::host {

namespace {

constexpr QSize kSize(720, 420);
constexpr int kWhatWidth = 300, kReasonLines = 3;

}  // namespace

void ShowProblemDialog(const QString& title, const std::vector<TaskProblem>& problems, const WindowTexts& texts,
                       QWidget* parent) {
    auto* dialog = new QDialog(parent);
    dialog->setObjectName(QStringLiteral("ProblemDialog"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(title);
    dialog->resize(kSize);
    auto* list = new QTreeWidget;
    list->setAccessibleName(title);
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAlternatingRowColors(true);
    list->setAllColumnsShowFocus(true);
    list->setItemDelegate(new RowDelegate(list));
    list->setHeaderLabels({texts("ProblemWhat"), texts("ProblemWhy")});
    QList<QTreeWidgetItem*> items;
    for (const TaskProblem& problem : problems)
        items += new QTreeWidgetItem({problem.Item.simplified(), problem.Reason.simplified()});
    list->addTopLevelItems(items);
    list->setColumnWidth(0, kWhatWidth);
    // Reasons are long, so that of the current row is also shown below the list, where it can be read and copied.
    auto* reason = new QLabel;
    reason->setTextFormat(Qt::PlainText);
    reason->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    reason->setAccessibleName(texts("ProblemWhy"));
    reason->setWordWrap(true);
    reason->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    reason->setMinimumHeight(kReasonLines * reason->fontMetrics().lineSpacing());
    QObject::connect(list, &QTreeWidget::currentItemChanged, reason,
                     [reason](const QTreeWidgetItem* item) { reason->setText(item ? item->text(1) : QString()); });
    if (!items.isEmpty()) list->setCurrentItem(items.first());
    auto* buttons = new QDialogButtonBox;
    QPushButton* close = buttons->addButton(texts("Close"), QDialogButtonBox::RejectRole);
    close->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto* whole = new QVBoxLayout(dialog);
    whole->addWidget(list, 1);
    whole->addWidget(reason);
    whole->addWidget(buttons);
    dialog->open();
}

}  // namespace vexa::host
