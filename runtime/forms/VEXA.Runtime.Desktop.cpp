#include "VEXA.Runtime.Desktop.h"

#include "VEXA.Runtime.Log.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>
#include <QWidget>

namespace vexa {

namespace {

constexpr int kAnswerTimeoutMs = 3000;

/// Calls the file manager by the interface of freedesktop.org.
bool AskFileManager(const QString& fileName) {
    QDBusMessage call = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("/org/freedesktop/FileManager1"),
        QStringLiteral("org.freedesktop.FileManager1"), QStringLiteral("ShowItems"));
    call << QStringList{QUrl::fromLocalFile(fileName).toString(QUrl::FullyEncoded)} << QString();
    const QDBusMessage answer = QDBusConnection::sessionBus().call(call, QDBus::Block, kAnswerTimeoutMs);
    if (answer.type() == QDBusMessage::ReplyMessage) return true;
    qCInfo(LogRuntime) << "the file manager does not answer:" << answer.errorMessage();
    return false;
}

bool OpenFolder(const QString& folder) {
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    return !opener.isEmpty() && QProcess::startDetached(opener, {folder});
}

}  // namespace

bool ShowInFolder(const QString& fileName) {
    const QFileInfo file(fileName);
    if (!file.exists()) return false;
    return AskFileManager(file.absoluteFilePath()) || OpenFolder(file.absolutePath());
}

void BringToFront(std::uintptr_t window) {
    QWidget* const widget = window != 0 ? QWidget::find(static_cast<WId>(window)) : nullptr;
    if (!widget) return;
    QWidget* const topLevel = widget->window();
    topLevel->setWindowState(topLevel->windowState() & ~Qt::WindowMinimized);
    topLevel->show();
    topLevel->raise();
    topLevel->activateWindow();
}

}  // namespace vexa
