#include "ProblemDialog.h"

#include <QBoxLayout>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>

namespace vexa::host {

namespace {

constexpr QSize kSize(640, 360);
constexpr int kWhatWidth = 240;

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
    list->setAlternatingRowColors(true);
    list->setHeaderLabels({texts("ProblemWhat"), texts("ProblemWhy")});
    for (const TaskProblem& problem : problems) {
        auto* item = new QTreeWidgetItem(list, {problem.What.simplified(), problem.Why.simplified()});
        item->setToolTip(1, QString(u"<span>" + problem.Why.toHtmlEscaped() + u"</span>"));
    }
    list->setColumnWidth(0, kWhatWidth);
    auto* buttons = new QDialogButtonBox;
    QPushButton* close = buttons->addButton(texts("Close"), QDialogButtonBox::RejectRole);
    close->setDefault(true);
    QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    auto* whole = new QVBoxLayout(dialog);
    whole->addWidget(list);
    whole->addWidget(buttons);
    dialog->open();
}

}  // namespace vexa::host
