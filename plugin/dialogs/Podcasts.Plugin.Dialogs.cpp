#include "Podcasts.Plugin.Dialogs.h"

#include "VEXA.Runtime.Log.h"
#include "apiWrappers.h"

#include <QAbstractButton>
#include <QApplication>
#include <QIcon>
#include <QScreen>
#include <QShowEvent>
#include <QTextBoundaryFinder>
#include <QWindow>

namespace podcasts {

using namespace vexa;

namespace {

constexpr qsizetype kMaxWordLength = 24;      // letters that certainly fit on a line
constexpr qsizetype kMaxMessageLength = 600;  // letters of an error message, which may contain a server's text

/// Whether a character is a directional mark, override or isolate.
bool TurnsDirection(char16_t c) {
    return (c >= 0x202A && c <= 0x202E) || (c >= 0x2066 && c <= 0x2069) || c == 0x200E || c == 0x200F;
}

/// `text` on one line, without directional characters.
QString Plain(const QString& text) {
    QString plain;
    plain.reserve(text.size());
    for (const QChar c : text)
        if (!TurnsDirection(c.unicode())) plain += c.category() == QChar::Other_Control ? QChar(u' ') : c;
    return plain.simplified();
}

QIcon MainIcon() {
    QIcon icon;
    for (const char* const size : {"", "16", "24", "32", "48"})
        icon.addFile(ResourcePath(QStringLiteral("MAINICON") + QLatin1String(size), QStringLiteral("ICON")));
    return icon;
}

QWidget* OwnWindow(WindowHandle handle) {
    QWidget* const widget = handle != 0 ? QWidget::find(static_cast<WId>(handle)) : nullptr;
    return widget ? widget->window() : nullptr;
}

}  // namespace

bool CanShowWindows(const char* what) {
    const bool can = qobject_cast<QApplication*>(QCoreApplication::instance()) != nullptr;
    if (!can) qCWarning(LogPlugin) << what << "takes a program with windows, which this one is not";
    return can;
}

QString TextForLabel(const QString& text, qsizetype letters) {
    // Ignore everything far beyond what can be shown, since a letter may have any number of accents.
    QString plain = Plain(text.left(letters * 8));
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, plain);
    QString result;
    qsizetype begin = 0, wordLength = 0, count = 0;
    for (qsizetype end = finder.toNextBoundary(); end >= 0; begin = end, end = finder.toNextBoundary()) {
        if (count++ == letters) return result + u'…';
        wordLength = plain[begin].isSpace() ? 0 : wordLength + 1;
        if (wordLength > kMaxWordLength) {
            result += QChar(0x200B);  // zero-width space: a break opportunity
            wordLength = 1;
        }
        result += QStringView(plain).sliced(begin, end - begin);
    }
    return result;
}

void ShowMessageBox(QWidget* owner, QMessageBox::Icon icon, const QString& text) {
    if (!CanShowWindows("a message")) return;
    TOpenDialog<QMessageBox> box(icon, QString(), text, QMessageBox::Ok, owner);
#if QT_VERSION >= QT_VERSION_CHECK(6, 6, 0)
    box->setOption(QMessageBox::Option::DontUseNativeDialog);
#endif
    box->setTextFormat(Qt::PlainText);
    if (const QString caption = LocalizedText(QStringLiteral("CommonDialogs\\B1")); !caption.isEmpty())
        box->button(QMessageBox::Ok)->setText(caption);
    box->exec();
}

void ReportCaughtException(QWidget* owner) noexcept {
    LogCaughtException(LogPlugin(), "a dialog's command");
    try {
        ShowMessageBox(owner, QMessageBox::Critical, TextForLabel(LocalizedText(CaughtReason()), kMaxMessageLength));
    } catch (...) {
        // The exception cannot be shown, but it has been logged.
    }
}

TPodcastsCustomForm::TPodcastsCustomForm(WindowHandle owner)
    : QDialog(OwnWindow(owner), Qt::WindowTitleHint | Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint) {
    if (const QWidget* const window = parentWidget()) {
        setWindowFlag(Qt::WindowStaysOnTopHint, window->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    } else if (QWindow* const foreign = owner != 0 ? QWindow::fromWinId(static_cast<WId>(owner)) : nullptr) {
        winId();
        windowHandle()->setTransientParent(foreign);
        connect(this, &QObject::destroyed, foreign, &QObject::deleteLater);
    }
    setModal(true);
    setWindowIcon(MainIcon());
}

void TPodcastsCustomForm::showEvent(QShowEvent* event) {
    QDialog::showEvent(event);
    if (event->spontaneous()) return;
    if (const QScreen* const itsScreen = parentWidget() ? parentWidget()->screen() : screen())
        move(itsScreen->availableGeometry().center() - QRect(QPoint(0, 0), frameGeometry().size()).center());
}

}  // namespace podcasts
