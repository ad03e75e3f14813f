#include "ShowNotes.h"

#include <QDesktopServices>
#include <QEvent>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSet>

namespace vexa::host {

bool IsWebLink(const QUrl& link) {
    static const QSet<QString> schemes{QStringLiteral("http"), QStringLiteral("https"), QStringLiteral("mailto")};
    return schemes.contains(link.scheme().toLower());
}

namespace {

constexpr int kIndent = 16;              // indent of lists, in pixels
constexpr qsizetype kLongest = 200'000;  // characters; longer notes are cut, so that no feed blocks the window

const QString kSeek = QStringLiteral("seek");

/// The seconds of "1:02:34" or "2:34"; −1 when it is not a valid time.
int SecondsOf(const QString& time) {
    int seconds = 0;
    const QStringList parts = time.split(u':');
    for (qsizetype i = 0; i < parts.size(); ++i) {
        if (i > 0 && parts[i].toInt() > 59) return -1;
        seconds = seconds * 60 + parts[i].toInt();
    }
    return seconds;
}

/// Turns addresses and times in `text`, which is escaped text between tags, into links.
QString Linked(const QString& text) {
    static const QRegularExpression pattern(QStringLiteral(
        R"((?<address>\bhttps?://[^\s<>"']+[^\s<>"'.,;:!?)\]])|(?<![\d:.])(?<time>\d{1,3}(:\d\d){1,2})(?![\d:]))"));
    QString linked;
    qsizetype done = 0;
    for (auto matches = pattern.globalMatch(text); matches.hasNext();) {
        const auto match = matches.next();
        const QString found = match.captured();
        QString target = found;
        if (match.capturedLength(u"time") > 0) {
            const int seconds = SecondsOf(found);
            if (seconds < 0) continue;
            target = kSeek + u':' + QString::number(seconds);
        }
        linked += QStringView(text).mid(done, match.capturedStart() - done);
        linked += QString(u"<a href=\"" + target + u"\">" + found + u"</a>");
        done = match.capturedEnd();
    }
    return linked + QStringView(text).mid(done).toString();
}

const QSet<QString>& KeptTags() {
    static const QSet<QString> tags = [] {
        const QString names = QStringLiteral(
            "b strong i em u p br ul ol li blockquote pre code div hr sub sup dl dt dd table tr td th h4 h5 h6");
        const QStringList list = names.split(u' ');
        return QSet<QString>(list.begin(), list.end());
    }();
    return tags;
}

/// The target of an <a> tag; empty when it must not be opened.
QString TargetOf(const QString& tag) {
    static const QRegularExpression pattern(QStringLiteral(R"(\bhref\s*=\s*(?:"([^"]*)\"|'([^']*)'|([^\s"'>]+)))"),
                                            QRegularExpression::CaseInsensitiveOption);
    const auto match = pattern.match(tag);
    QString target = match.captured(match.lastCapturedIndex()).trimmed();
    if (!match.hasMatch()) return {};
    target.replace(QStringLiteral("&amp;"), QStringLiteral("&"));
    return IsWebLink(QUrl(target)) ? target.toHtmlEscaped() : QString();
}

QString Cleaned(const QString& notes) {
    static const QRegularExpression pattern(
        QStringLiteral(
            R"(<!--.*?(?:-->|$)|<(script|style|head|title)\b.*?(?:</\1\s*>|$)|<(/?)([a-z][a-z0-9]*)([^<>]*)>)"),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    QString clean;
    int links = 0;  // number of <a> tags that are open
    qsizetype done = 0;
    const auto addText = [&](QStringView part) {
        const QString text = QString(part.toString()).replace(u'<', QStringLiteral("&lt;"));
        clean += links > 0 ? text : Linked(text);
    };
    for (auto matches = pattern.globalMatch(notes); matches.hasNext();) {
        const auto match = matches.next();
        addText(QStringView(notes).mid(done, match.capturedStart() - done));
        done = match.capturedEnd();
        QString name = match.captured(3).toLower();
        const bool isEnd = match.captured(2) == u"/";
        if (name == u"h1" || name == u"h2" || name == u"h3") name = QStringLiteral("h4");  // below the file's title
        if (name == u"a") {
            if (isEnd && links > 0) {
                clean += QStringLiteral("</a>");
                --links;
            } else if (const QString target = isEnd ? QString() : TargetOf(match.captured(4)); !target.isEmpty()) {
                clean += QString(u"<a href=\"" + target + u"\">");
                ++links;
            }
        } else if (KeptTags().contains(name)) {
            clean += QString((isEnd ? QStringLiteral("</") : QStringLiteral("<")) + name + u'>');
        }
    }
    addText(QStringView(notes).mid(done));
    return clean;
}

}  // namespace

QString ShowNotesHtml(const QString& notes) {
    static const QRegularExpression markup(
        QStringLiteral(R"(</?[a-z][a-z0-9]*(\s[^<>]*)?/?>|&(#\d+|#x[0-9a-f]+|[a-z]+);)"),
        QRegularExpression::CaseInsensitiveOption);
    const QString text = notes.left(kLongest);
    if (markup.match(text).hasMatch()) return Cleaned(text);
    QString plain = Linked(text.trimmed().toHtmlEscaped());
    return plain.replace(QStringLiteral("\r\n"), QStringLiteral("\n")).replace(u'\n', QStringLiteral("<br>"));
}

ShowNotes::ShowNotes(QWidget* parent) : QTextBrowser(parent) {
    setObjectName(QStringLiteral("Notes"));
    setOpenLinks(false);
    setFrameShape(QFrame::NoFrame);
    setUndoRedoEnabled(false);
    document()->setDocumentMargin(0);
    document()->setIndentWidth(kIndent);
    setTextInteractionFlags(Qt::TextBrowserInteraction);
    connect(this, &QTextBrowser::anchorClicked, this, &ShowNotes::Open);
}

void ShowNotes::SetNotes(const QString& notes) {
    FText = notes;
    setHtml(ShowNotesHtml(notes));
}

void ShowNotes::changeEvent(QEvent* event) {
    QTextBrowser::changeEvent(event);
    if (event->type() != QEvent::PaletteChange) return;
    const int place = verticalScrollBar()->value();
    SetNotes(QString(FText));
    verticalScrollBar()->setValue(place);
}

QVariant ShowNotes::loadResource(int, const QUrl&) {
    return QByteArray();
}

void ShowNotes::Open(const QUrl& link) {
    if (link.scheme() == kSeek)
        Q_EMIT SeekWanted(link.path().toDouble());
    else if (IsWebLink(link))
        QDesktopServices::openUrl(link);
}

}  // namespace vexa::host
