#include "ProblemDialog.h"

#include "ListDialog.h"

#include <QLabel>

namespace vexa::host {

namespace {

constexpr QSize kSize(720, 420);
constexpr int kWhatWidth = 300, kReasonLines = 3;

}  // namespace

void ShowProblemDialog(const QString& title, const std::vector<TaskProblem>& problems, const WindowTexts& texts,
                       QWidget* parent) {
    // Reasons are long, so that of the current row is also shown below the list, where it can be read and copied.
    auto* reason = new QLabel;
    reason->setTextFormat(Qt::PlainText);
    reason->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    reason->setAccessibleName(texts("ProblemWhy"));
    reason->setWordWrap(true);
    reason->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    reason->setMinimumHeight(kReasonLines * reason->fontMetrics().lineSpacing());
    auto* dialog = new ListDialog(title, {texts("ProblemWhat"), texts("ProblemWhy")}, texts, reason, parent);
    dialog->setObjectName(QStringLiteral("ProblemDialog"));
    dialog->resize(kSize);
    QTreeWidget* list = dialog->List();
    QObject::connect(list, &QTreeWidget::currentItemChanged, reason,
                     [reason](const QTreeWidgetItem* item) { reason->setText(item ? item->text(1) : QString()); });
    for (const TaskProblem& problem : problems) dialog->Add(problem.Item.simplified(), problem.Reason.simplified());
    list->setColumnWidth(0, kWhatWidth);
    list->setCurrentItem(list->topLevelItem(0));
    dialog->open();
}

}  // namespace vexa::host
