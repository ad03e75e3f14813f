#include "Terminal.h"

#include "VEXA.Runtime.Text.h"

#include <QJsonDocument>

#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdio>

namespace podcasts::cli {

namespace {

bool IsUnsafe(QChar c) {
    // Control characters (escape sequences), and formatting characters that change the order of the following text.
    const char16_t u = c.unicode();
    return c.category() == QChar::Other_Control || (u >= 0x202A && u <= 0x202E) || (u >= 0x2066 && u <= 0x2069) ||
           u == 0x2028 || u == 0x2029;
}

}  // namespace

QString SafeText(const QString& text) {
    QString safe = text;
    for (QChar& c : safe)
        if (c != u'\n' && IsUnsafe(c)) c = u' ';
    return safe;
}

QString OneLine(const QString& text) {
    return SafeText(text).simplified();
}

QString InColumns(const QString& text, int width) {
    QString cut = text;
    while (vexa::DisplayWidth(cut) > width) cut.chop(cut.size() > 1 && cut.back().isLowSurrogate() ? 2 : 1);
    return cut + QString(width - vexa::DisplayWidth(cut), u' ');
}

bool Terminal::IsTerminal() {
    return isatty(STDERR_FILENO) != 0;
}

int Terminal::Width() const {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

void Terminal::EraseStatus() {
    if (FStatus.isEmpty()) return;
    std::fputs("\r\033[K", stderr);
    std::fflush(stderr);
    FStatus.clear();
}

void Terminal::Print(const QString& text) {
    if (Interrupted) throw OutputEnded();
    const std::lock_guard lock(FMutex);
    EraseStatus();
    const std::string bytes = vexa::ToUtf8(text);
    if (std::fwrite(bytes.data(), 1, bytes.size(), stdout) != bytes.size()) throw OutputEnded();
    if (FHasStatusLine && std::fflush(stdout) != 0) throw OutputEnded();
}

void Terminal::Flush() {
    const std::lock_guard lock(FMutex);
    EraseStatus();
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw OutputEnded();
}

void Terminal::FlushLines() {
    const std::lock_guard lock(FMutex);
    if (std::fflush(stdout) != 0) throw OutputEnded();
}

void Terminal::PrintError(const QString& message) {
    const std::lock_guard lock(FMutex);
    EraseStatus();
    std::fflush(stdout);
    const std::string bytes = vexa::ToUtf8(QString(u"podcasts: " + SafeText(message).replace(u'\n', u' ') + u'\n'));
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    std::fflush(stderr);
}

void Terminal::ShowStatus(const QString& text) {
    if (!FHasStatusLine) return;
    const QString line = InColumns(SafeText(text).replace(u'\n', u' '), Width() - 1);
    const std::lock_guard lock(FMutex);
    if (line == FStatus) return;
    EraseStatus();
    const std::string bytes = vexa::ToUtf8(line);
    std::fwrite(bytes.data(), 1, bytes.size(), stderr);
    std::fflush(stderr);
    FStatus = line;
}

void JsonArrayPrinter::Add(const QJsonObject& object) {
    const QByteArray text = QJsonDocument(object).toJson(QJsonDocument::Compact);
    FTerminal.Print((FIsEmpty ? QStringLiteral("[\n") : QStringLiteral(",\n")) + QString::fromUtf8(text));
    FIsEmpty = false;
}

void JsonArrayPrinter::End() {
    FTerminal.Print(FIsEmpty ? QStringLiteral("[]\n") : QStringLiteral("\n]\n"));
}

}  // namespace podcasts::cli
