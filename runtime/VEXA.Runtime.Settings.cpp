#include "VEXA.Runtime.Settings.h"

#include "VEXA.Runtime.FileReason.h"
#include "VEXA.Runtime.Files.h"
#include "VEXA.Runtime.Reasons.h"
#include "VEXA.Runtime.Text.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

namespace vexa {

namespace {

constexpr auto kMaxWait = std::chrono::seconds(5);
constexpr auto kLockPoll = std::chrono::milliseconds(5);

/// The new file that replaces the settings file once it is complete. Until then its lock keeps other programs from
/// writing. If the process dies, the kernel releases the lock, and the next process writes the same new file.
class SettingsSuccessor {
public:
    explicit SettingsSuccessor(const QString& fileName) : FFileName(fileName) {
        const QFileInfo present(fileName);  // keep a symbolic link: replace its target
        FTarget = QFile::encodeName(present.isSymLink() ? present.symLinkTarget() : fileName);
        FName = FTarget + ".new";
        const auto deadline = std::chrono::steady_clock::now() + kMaxWait;
        for (;;) {
            FDescriptor = open(FName.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
            if (FDescriptor < 0) Fail();
            // With any other error the file system has no locks: go on without.
            const bool isHeld = flock(FDescriptor, LOCK_EX | LOCK_NB) != 0 && (errno == EWOULDBLOCK || errno == EINTR);
            // If the lock is free but the name is another file's, the previous holder has renamed this one: try again.
            if (!isHeld && IsFileNamed(FDescriptor, FName)) return;
            Close();
            if (std::chrono::steady_clock::now() > deadline) Fail(Reason(RuntimeReason("SettingsBusy")));
            if (isHeld) std::this_thread::sleep_for(kLockPoll);
        }
    }
    ~SettingsSuccessor() {
        if (IsFileNamed(FDescriptor, FName)) unlink(FName.constData());
        Close();
    }
    SettingsSuccessor(const SettingsSuccessor&) = delete;
    SettingsSuccessor& operator=(const SettingsSuccessor&) = delete;

    void Replace(std::string_view bytes) {
        struct stat present {};
        if (stat(FTarget.constData(), &present) == 0 && fchmod(FDescriptor, present.st_mode & 0777) != 0) Fail();
        if (ftruncate(FDescriptor, 0) != 0) Fail();
        while (!bytes.empty()) {
            const ssize_t written = write(FDescriptor, bytes.data(), bytes.size());
            if (written < 0 && errno != EINTR) Fail();
            if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
        }
        if (fsync(FDescriptor) != 0 || rename(FName.constData(), FTarget.constData()) != 0) Fail();
    }

private:
    [[noreturn]] void Fail(const Reason& cause) const {
        throw ReasonError(Reason(RuntimeReason("SettingsWrite"), {FFileName, cause}));
    }
    [[noreturn]] void Fail() const { Fail(SystemReason(errno)); }
    void Close() { close(FDescriptor); }

    const QString FFileName;
    QByteArray FTarget, FName;
    int FDescriptor = -1;
};

QStringList ReadLines(const QString& fileName) {
    const auto fail = [&](const Reason& cause) {
        throw ReasonError(Reason(RuntimeReason("SettingsRead"), {fileName, cause}));
    };
    // Only a missing file reads as empty. If any other error did, the next Save would overwrite the file's contents.
    const int descriptor = open(QFile::encodeName(fileName).constData(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0 && (errno == ENOENT || errno == ENOTDIR)) return {};
    if (descriptor < 0) fail(SystemReason(errno));
    QFile file;
    file.open(descriptor, QIODevice::ReadOnly, QFileDevice::AutoCloseHandle);
    const QByteArray bytes = file.readAll();
    if (file.error() != QFileDevice::NoError) fail(FileReason(file));
    QStringList lines = FromUtf8({bytes.constData(), static_cast<std::size_t>(bytes.size())}).split(u'\n');
    if (!lines.isEmpty() && lines.first().startsWith(QChar(0xFEFF))) lines.first().remove(0, 1);
    for (QString& line : lines)
        if (line.endsWith(u'\r')) line.chop(1);
    if (!lines.isEmpty() && lines.last().isEmpty()) lines.removeLast();
    return lines;
}

bool NeedsQuotes(const QString& value) {
    if (value.isEmpty()) return false;
    if (value.front().isSpace() || value.back().isSpace() || value.front() == u'"') return true;
    return std::any_of(value.cbegin(), value.cend(), [](QChar c) { return c.category() == QChar::Other_Control; });
}

QString Quoted(const QString& value) {
    if (!NeedsQuotes(value)) return value;
    QString text(u'"');
    for (const QChar c : value) {
        if (c == u'"' || c == u'\\')
            (text += u'\\') += c;
        else if (c == u'\n')
            text += u"\\n";
        else if (c == u'\r')
            text += u"\\r";
        else if (c == u'\t')
            text += u"\\t";
        else if (c.category() == QChar::Other_Control)
            text += u"\\x" + QString::number(c.unicode(), 16).rightJustified(4, u'0');
        else
            text += c;
    }
    return text += u'"';
}

QString Unquoted(const QString& written) {
    const QString text = written.trimmed();
    if (text.size() < 2 || text.front() != u'"' || text.back() != u'"') return text;
    QString value;
    for (qsizetype i = 1; i < text.size() - 1; ++i) {
        if (text[i] != u'\\' || i + 2 >= text.size()) {
            value += text[i];
            continue;
        }
        const QChar escaped = text[++i];
        if (escaped == u'n')
            value += u'\n';
        else if (escaped == u'r')
            value += u'\r';
        else if (escaped == u't')
            value += u'\t';
        else if (escaped == u'x' && i + 4 < text.size() - 1) {
            value += QChar(text.sliced(i + 1, 4).toUShort(nullptr, 16));
            i += 4;
        } else
            value += escaped;
    }
    return value;
}

/// The meaning of one line: the beginning of a section, a key with its value, or nothing.
struct Line {
    std::optional<QString> Section;
    QString Key, Value;
};

Line ParseLine(const QString& text) {
    const QString trimmed = text.trimmed();
    if (trimmed.startsWith(u'[') && trimmed.endsWith(u']')) return {trimmed.sliced(1, trimmed.size() - 2), {}, {}};
    const qsizetype equals = trimmed.indexOf(u'=');
    if (equals <= 0 || trimmed.startsWith(u';') || trimmed.startsWith(u'#')) return {};
    return {{}, trimmed.first(equals).trimmed(), Unquoted(trimmed.sliced(equals + 1))};
}

QString KeyPath(const QString& section, const QString& key) {
    return section.isEmpty() ? key : section + u'\\' + key;
}

/// Replaces the key's line (if there are several, the last one, which is the one that counts), or adds a line at the
/// end of the key's section, which is added at the file's end if it is missing. A key with a backslash may be in a
/// section with a shorter name.
void SetKey(QStringList& lines, const QString& keyPath, const QString& value) {
    const qsizetype delimiter = keyPath.lastIndexOf(u'\\');
    const QString wanted = delimiter < 0 ? QString() : keyPath.first(delimiter);
    QString section;
    qsizetype insertAt = wanted.isEmpty() ? 0 : -1, found = -1;
    QString foundKey;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const Line line = ParseLine(lines[i]);
        if (line.Section) section = *line.Section;
        if (!line.Section && !line.Key.isEmpty() && KeyPath(section, line.Key) == keyPath) {
            found = i;
            foundKey = line.Key;
        }
        if (section == wanted && !lines[i].trimmed().isEmpty()) insertAt = i + 1;
    }
    if (found >= 0) {
        lines[found] = foundKey + u'=' + Quoted(value);
        return;
    }
    if (insertAt < 0) {
        if (!lines.isEmpty()) lines += QString();
        lines += u'[' + wanted + u']';
        insertAt = lines.size();
    }
    lines.insert(insertAt, keyPath.sliced(delimiter + 1) + u'=' + Quoted(value));
}

QHash<QString, QString> ParseLines(const QStringList& lines) {
    QHash<QString, QString> values;
    QString section;
    for (const QString& text : lines) {
        const Line line = ParseLine(text);
        if (line.Section)
            section = *line.Section;
        else if (!line.Key.isEmpty())
            values.insert(KeyPath(section, line.Key), line.Value);
    }
    return values;
}

}  // namespace

SettingsFile::SettingsFile(const QString& fileName) : FFileName(fileName) {
    FRead = ParseLines(ReadLines(FFileName));
}

std::optional<QString> SettingsFile::Find(const QString& keyPath) {
    if (const auto found = FPending.constFind(keyPath); found != FPending.cend()) return *found;
    if (const auto found = FRead.constFind(keyPath); found != FRead.cend()) return *found;
    FMissing.insert(keyPath);
    return std::nullopt;
}

QString SettingsFile::Read(const QString& keyPath, const QString& defaultValue) {
    if (const auto found = Find(keyPath)) return *found;
    FMissing.remove(keyPath);
    return *FRead.insert(keyPath, defaultValue);
}

void SettingsFile::Write(const QString& keyPath, const QString& value) {
    if (const auto found = FRead.constFind(keyPath); found != FRead.cend() && *found == value)
        FPending.remove(keyPath);
    else
        FPending.insert(keyPath, value);
}

void SettingsFile::Insist(const QString& keyPath) {
    if (const auto value = Find(keyPath)) FPending.insert(keyPath, *value);
    FMissing.remove(keyPath);
}

void SettingsFile::Reload() {
    FRead.insert(ParseLines(ReadLines(FFileName)));  // keeps the defaults that were returned for missing keys
}

void SettingsFile::Save() {
    if (FPending.isEmpty()) return;
    QDir().mkpath(QFileInfo(FFileName).path());
    SettingsSuccessor successor(FFileName);
    const QStringList before = ReadLines(FFileName);
    const QHash<QString, QString> present = ParseLines(before);
    for (const QString& key : std::exchange(FMissing, {})) {
        if (!present.contains(key) || !FPending.contains(key)) continue;
        FRead.insert(key, present[key]);
        FPending.remove(key);
    }
    QStringList keys = FPending.keys();
    keys.sort();
    QStringList lines = before;
    for (const QString& key : keys) SetKey(lines, key, FPending.value(key));
    if (lines != before) successor.Replace(ToUtf8(QString(lines.join(u'\n') + u'\n')));
    for (const QString& key : keys) FRead.insert(key, FPending.take(key));
}

void SettingsFile::TakeSaved(const SettingsFile& copied, const SettingsFile& saved) {
    FMissing.subtract(copied.FMissing);
    for (auto key = copied.FPending.keyBegin(); key != copied.FPending.keyEnd(); ++key) {
        // A value that was set back to the one read is pending no more.
        const QString wanted = FPending.contains(*key) ? FPending.take(*key) : FRead.value(*key);
        const QString written = saved.FRead.value(*key);
        FRead.insert(*key, written);
        if (wanted != copied.FPending.value(*key) && wanted != written) FPending.insert(*key, wanted);
    }
}

QString SettingsFileName(const QString& profileFolder) {
    return QDir(profileFolder).filePath(QStringLiteral("Settings.ini"));
}

}  // namespace vexa
