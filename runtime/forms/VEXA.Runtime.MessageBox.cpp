#include "VEXA.Runtime.MessageBox.h"

#include "VEXA.Runtime.Log.h"

#include <QApplication>
#include <QMessageBox>

namespace vexa {

void ShowErrorBox(std::uintptr_t owner, const QString& title, const QString& text) {
    if (!qobject_cast<QApplication*>(QCoreApplication::instance())) {
        qCWarning(LogRuntime).noquote() << title << text;
        return;
    }
    QWidget* const parent = owner != 0 ? QWidget::find(static_cast<WId>(owner)) : nullptr;
    auto* const box = new QMessageBox(parent ? parent->window() : nullptr);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setIcon(QMessageBox::Warning);
    box->setWindowTitle(title.isEmpty() ? QGuiApplication::applicationDisplayName() : title);
    box->setTextFormat(Qt::PlainText);  // before setText, so that the text is never taken for markup
    box->setText(text);
    box->open();
}

}  // namespace vexa
