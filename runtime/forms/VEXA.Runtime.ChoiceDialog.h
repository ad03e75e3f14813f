#pragma once
// A dialog in which the user chooses one of a few rows. Main thread.

#include "VEXA.Runtime.Export.h"

#include <QDialog>
#include <QString>

#include <vector>

class QTreeWidget;

namespace vexa {

class VEXA_RUNTIME_API ChoiceDialog : public QDialog {
public:
    struct Row {
        QString Caption;  // if empty, Detail is shown in its place
        QString Detail;   // shown beside the caption
    };
    struct Texts {
        QString Title, Question, Accept, Cancel;
    };

    /// Rows and texts may come from untrusted sources: they are shown as plain text, on one line each. The first row is
    /// selected initially.
    ChoiceDialog(const Texts& texts, const std::vector<Row>& rows, QWidget* parent);
    ~ChoiceDialog() override;

    /// The index of the chosen row; −1 when there is none.
    int Choice() const;

private:
    QTreeWidget* const FList;
};

}  // namespace vexa
