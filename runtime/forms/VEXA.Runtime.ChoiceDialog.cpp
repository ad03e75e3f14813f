#include "VEXA.Runtime.ChoiceDialog.h"

#include <QDialogButtonBox>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace vexa {

namespace {

constexpr QSize kSize(640, 260);
constexpr int kCaptionWidth = 320, kRowPadding = 4;
constexpr qsizetype kMaxTextLength = 400;  // letters shown of a row

/// `text` on one line, without invisible characters, which may change the direction of the text.
QString Plain(const QString& text) {
    QString plain;
    for (const QChar c : text.left(kMaxTextLength))
        if (c.category() != QChar::Other_Format) plain += c.category() == QChar::Other_Control ? QChar(u' ') : c;
    return plain.simplified();
}

}  // namespace

ChoiceDialog::ChoiceDialog(const Texts& texts, const std::vector<Row>& rows, QWidget* parent)
    : QDialog(parent), FList(new QTreeWidget) {
    setObjectName(QStringLiteral("ChoiceDialog"));
    setWindowTitle(texts.Title);
    auto* const question = new QLabel(texts.Question);
    question->setTextFormat(Qt::PlainText);
    question->setWordWrap(true);
    question->setBuddy(FList);
    FList->setObjectName(QStringLiteral("Choices"));
    FList->setAccessibleName(texts.Question);
    FList->setHeaderHidden(true);
    FList->setRootIsDecorated(false);
    FList->setUniformRowHeights(true);
    FList->setAllColumnsShowFocus(true);
    FList->setTextElideMode(Qt::ElideMiddle);
    FList->setColumnCount(2);
    for (const Row& row : rows) {
        const QString caption = Plain(row.Caption), detail = Plain(row.Detail);
        auto* const item = new QTreeWidgetItem(FList, {caption.isEmpty() ? detail : caption, detail});
        item->setFirstColumnSpanned(caption.isEmpty());
        // The tool tip shows the full text. Qt guesses whether a tool tip is markup, so convert the text to markup.
        item->setToolTip(0, Qt::convertFromPlainText(item->text(0)));
        item->setToolTip(1, Qt::convertFromPlainText(detail));
        item->setSizeHint(0, QSize(0, fontMetrics().height() + 2 * kRowPadding));
    }
    FList->setColumnWidth(0, kCaptionWidth);
    FList->setCurrentItem(FList->topLevelItem(0));

    auto* const buttons = new QDialogButtonBox;
    QPushButton* const accept = buttons->addButton(texts.Accept, QDialogButtonBox::AcceptRole);
    accept->setObjectName(QStringLiteral("Accept"));
    accept->setDefault(true);
    buttons->addButton(texts.Cancel, QDialogButtonBox::RejectRole);
    auto* const whole = new QVBoxLayout(this);
    whole->addWidget(question);
    whole->addWidget(FList, 1);
    whole->addWidget(buttons);
    resize(kSize);
    connect(FList, &QTreeWidget::itemSelectionChanged, accept, [this, accept] { accept->setEnabled(Choice() >= 0); });
    connect(FList, &QTreeWidget::itemDoubleClicked, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    FList->setFocus();
}

ChoiceDialog::~ChoiceDialog() = default;

int ChoiceDialog::Choice() const {
    const QList<QTreeWidgetItem*> selected = FList->selectedItems();
    return selected.isEmpty() ? -1 : FList->indexOfTopLevelItem(selected.first());
}

}  // namespace vexa
