#pragma once
// A dialog that lets the user choose one of a few things. Main thread.

#include "VEXA.Runtime.Export.h"

#include <QDialog>
#include <QString>

#include <vector>

class QTreeWidget;

namespace vexa {

class VEXA_RUNTIME_API ChoiceDialog : public QDialog {
public:
    struct Row {
        QString Caption;  // the detail stands in for one that is empty
        QString Detail;   // shown beside it
    };
    struct Texts {
        QString Title, Question, Accept, Cancel;
    };

    /// Rows and texts are plain text from anywhere, shown on one line each; the first row is chosen at first.
    ChoiceDialog(const Texts& texts, const std::vector<Row>& rows, QWidget* parent);
    ~ChoiceDialog() override;

    /// The index of the chosen row; −1 when there is none.
    int Choice() const;

private:
    QTreeWidget* const FList;
};

}  // namespace vexa
