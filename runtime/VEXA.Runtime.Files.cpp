#include "VEXA.Runtime.Files.h"

#include "VEXA.Runtime.Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include <sys/stat.h>

#include <algorithm>

namespace vexa {

namespace {

constexpr qsizetype kMaxComponentLength = 200;  // bytes; file systems allow 255
constexpr qsizetype kMaxExtensionLength = 10;   // characters, without the dot

bool IsOuter(QChar c) {
    return c == u'.' || c.isSpace();
}

QStringView TrimmedOuter(QStringView text) {
    while (!text.isEmpty() && IsOuter(text.front())) text = text.sliced(1);
    while (!text.isEmpty() && IsOuter(text.back())) text.chop(1);
    return text;
}

/// Whether a component is a device name that some file systems reserve, with any extension: CON, PRN, AUX, NUL, COM0–9,
/// LPT0–9.
bool IsDeviceName(QStringView component) {
    const qsizetype dot = component.indexOf(u'.');
    const QString stem = (dot < 0 ? component : component.first(dot)).trimmed().toString().toUpper();
    if (stem == u"CON" || stem == u"PRN" || stem == u"AUX" || stem == u"NUL") return true;
    return stem.size() == 4 && stem[3].isDigit() && (stem.startsWith(u"COM") || stem.startsWith(u"LPT"));
}

/// The position of the extension's dot; −1 when there is no extension worth keeping.
qsizetype ExtensionDot(QStringView component) {
    const qsizetype dot = component.lastIndexOf(u'.');
    return dot > 0 && component.size() - dot - 1 <= kMaxExtensionLength && dot + 1 < component.size() ? dot : -1;
}

/// Creates the missing folders of the user's trash. Qt does this itself, but when it fails it puts files below the
/// current folder.
bool MakeTrash() {
    const QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
    const QString trash = data + u"/Trash";
    QDir().mkpath(data);
    mkdir(QFile::encodeName(trash).constData(), S_IRWXU);  // not readable by other users
    return QDir().mkpath(trash + u"/files") && QDir().mkpath(trash + u"/info");
}

/// In ns since 1970.
qint64 ModifiedAt(const struct stat& status) {
    return status.st_mtim.tv_sec * 1'000'000'000 + status.st_mtim.tv_nsec;
}

QStringView LastComponent(QStringView path) {
    return path.sliced(std::max(path.lastIndexOf(u'/'), path.lastIndexOf(u'\\')) + 1);
}

/// The extension of the last component without its dot; empty when there is none.
QStringView Extension(QStringView path) {
    const QStringView name = LastComponent(path);
    const qsizetype dot = name.lastIndexOf(u'.');
    if (dot < 0) return {};
    const QStringView extension = name.sliced(dot + 1);
    return extension.contains(u' ') ? QStringView() : extension;  // "Dr. No" has no extension
}

}  // namespace

QString ToFileNameComponent(const QString& text) {
    static constexpr QStringView reserved = u"\\/:*?\"<>|";
    QString name;
    name.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text.at(i);
        const bool pair = c.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (pair) {
            name += c;
            name += text.at(++i);
        } else if (!c.isSurrogate() && c.category() != QChar::Other_Control && !reserved.contains(c)) {
            name += c;
        }
    }
    QString component = TrimmedOuter(name).toString();
    if (IsDeviceName(component)) component.prepend(u'_');
    return ClampComponent(component, kMaxComponentLength);
}

QString ClampComponent(const QString& component, qsizetype maxBytes) {
    if (component.toUtf8().size() <= maxBytes) return component;
    const qsizetype dot = ExtensionDot(component);
    const QString extension = dot < 0 ? QString() : component.sliced(dot);
    QString stem = dot < 0 ? component : component.first(dot);
    const qsizetype room = maxBytes - extension.toUtf8().size();
    // Every UTF-16 unit becomes at least one byte, so the stem has at most `room` units.
    stem.truncate(room);
    while (!stem.isEmpty() && stem.toUtf8().size() > room) stem.chop(1);
    if (!stem.isEmpty() && stem.back().isHighSurrogate()) stem.chop(1);
    while (!stem.isEmpty() && IsOuter(stem.back())) stem.chop(1);
    return stem + extension;
}

QString ExtractFileName(const QString& path) {
    return LastComponent(path).toString();
}

QString ExtractFileExt(const QString& path) {
    const QStringView extension = Extension(path);
    return extension.isEmpty() ? QString() : QString(u'.' + extension);
}

QString FileFormat(const QString& addressOrFile) {
    QStringView path(addressOrFile);
    if (const qsizetype scheme = path.indexOf(u"://"); scheme > 0) {
        path = path.sliced(scheme + 3);
        const auto isEnd = [](QChar c) { return c == u'?' || c == u'#'; };
        path = path.first(std::find_if(path.begin(), path.end(), isEnd) - path.begin());
        if (!path.contains(u'/')) return {};  // only a host, whose ".com" is not a format
    }
    return Extension(path).toString().toUpper();
}

bool MatchesFileMask(const QString& text, const QString& masks) {
    for (const QString& mask : masks.split(u';')) {
        if (mask.trimmed().isEmpty()) continue;
        const auto expression = QRegularExpression::fromWildcard(mask.trimmed(), Qt::CaseInsensitive);
        if (expression.match(ExtractFileName(text)).hasMatch()) return true;
    }
    return false;
}

bool FileExists(const QString& fileName) {
    if (fileName.isEmpty() || fileName.contains(QChar::Null)) return false;
    struct stat status {};
    return stat(QFile::encodeName(fileName).constData(), &status) == 0 && S_ISREG(status.st_mode);
}

bool IsFileNamed(int descriptor, const QByteArray& name) noexcept {
    struct stat opened {
    }, named{};
    return fstat(descriptor, &opened) == 0 && stat(name.constData(), &named) == 0 && opened.st_ino == named.st_ino &&
           opened.st_dev == named.st_dev;
}

bool MoveToRecycleBin(const QString& fileName, TrashedFile* trashed) {
    if (trashed) *trashed = {fileName, {}};
    const QFileInfo file(fileName);
    if (!file.exists() && !file.isSymLink()) return true;
    QString inTrash;
    if (MakeTrash() && QFile::moveToTrash(fileName, &inTrash)) {
        struct stat status {};
        if (trashed && lstat(QFile::encodeName(inTrash).constData(), &status) == 0)
            *trashed = {fileName, inTrash, status.st_ino, ModifiedAt(status)};
        return true;
    }
    qCWarning(LogRuntime).noquote() << "there is no trash for" << fileName << "- it stays where it is";
    return false;
}

bool RestoreFromRecycleBin(const TrashedFile& trashed) {
    struct stat status {};
    if (trashed.InTrash.isEmpty() || lstat(QFile::encodeName(trashed.InTrash).constData(), &status) != 0 ||
        status.st_ino != trashed.Inode || ModifiedAt(status) != trashed.Modified)
        return false;
    QDir().mkpath(QFileInfo(trashed.FileName).path());
    if (!QFile::rename(trashed.InTrash, trashed.FileName)) return false;
    // The trash keeps the former name of each file beside it (freedesktop.org, "Trash").
    const QFileInfo inTrash(trashed.InTrash);
    QFile::remove(inTrash.path() + u"/../info/" + inTrash.fileName() + u".trashinfo");
    return true;
}

QString WithTrailingDelimiter(const QString& folder) {
    const QChar native = QDir::separator();
    return folder.endsWith(u'/') || folder.endsWith(native) ? folder : QString(folder + native);
}

QString MusicFolder() {
    return WithTrailingDelimiter(QStandardPaths::writableLocation(QStandardPaths::MusicLocation));
}

QString DefaultProfileFolder() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + u"/vexa";
}

}  // namespace vexa
