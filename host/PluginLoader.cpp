#include "PluginLoader.h"

#include <QFileInfo>
#include <QLibrary>
#include <QtGlobal>

#include <atomic>
#include <mutex>

namespace vexa::host {

namespace {

VEXAPluginGetHeaderFunction FindEntryPoint(const QString& fileName) {
    if (!QFileInfo(fileName).isFile())
        throw PluginError(u"there is no file " + fileName + u": name the file of a plug-in", E_FAIL);
    QLibrary library(QFileInfo(fileName).absoluteFilePath());
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    if (!library.load())
        throw PluginError(fileName + u" is not a plug-in that can be loaded: " + library.errorString(), E_FAIL);
    const auto entry = reinterpret_cast<VEXAPluginGetHeaderFunction>(library.resolve(kPluginEntryPoint));
    if (!entry)
        throw PluginError(
            fileName + u" is not a plug-in: it is a library without " + QString::fromLatin1(kPluginEntryPoint), E_FAIL);
    return entry;
}

/// Keeps the last warning logged during its lifetime: a plug-in that refuses to start returns only a code and logs the
/// reason. At most one instance may exist at a time.
class LastWarning {
public:
    LastWarning() {
        const std::lock_guard lock(Mutex);
        LastText.clear();
        Previous = qInstallMessageHandler(Note);
    }
    ~LastWarning() { qInstallMessageHandler(Previous); }
    LastWarning(const LastWarning&) = delete;
    LastWarning& operator=(const LastWarning&) = delete;

    QString Text() const {
        const std::lock_guard lock(Mutex);
        return LastText;
    }

private:
    static void Note(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (type == QtWarningMsg || type == QtCriticalMsg) {
            const std::lock_guard lock(Mutex);
            LastText = text;
        }
        if (const QtMessageHandler previous = Previous) previous(type, context, text);
    }

    inline static std::mutex Mutex;
    inline static QString LastText;  // guarded by Mutex
    inline static std::atomic<QtMessageHandler> Previous = nullptr;
};

}  // namespace

Plugin::Plugin(const QString& fileName) : FFileName(QFileInfo(fileName).absoluteFilePath()) {
    const HResult result = FindEntryPoint(fileName)(FObject.Put());
    if (Failed(result) || !FObject)
        throw PluginError(u"the plug-in " + fileName + u" gave no object (" + ToHex(result) + u')',
                          Failed(result) ? result : E_FAIL);
}

void Plugin::Initialize(IVEXACore* core) {
    if (!HasThisSdk(FObject.Get()))
        throw PluginError(u"the plug-in " + FFileName +
                              u" was built with another version of the interfaces: get the one for this player",
                          E_NOTIMPL);
    const LastWarning warning;
    const HResult result = FObject->Initialize(core);
    if (Succeeded(result)) return;
    QString reason = warning.Text();
    if (reason.isEmpty() && result == E_NOTIMPL) reason = QStringLiteral("the host lacks a service that it needs");
    if (!reason.isEmpty()) reason.prepend(u": ");
    throw PluginError(u"the plug-in " + FFileName + u" refused to start (" + ToHex(result) + u')' + reason, result);
}

void Plugin::Finalize() {
    FObject->Finalize();
}

QString Plugin::Information(std::int32_t index) const {
    const char16_t* text = FObject->GetInformation(index);
    return text ? QString::fromUtf16(text) : QString();
}

QString ToHex(HResult code) {
    return u"0x" + QString::number(static_cast<std::uint32_t>(code), 16).toUpper().rightJustified(8, u'0');
}

}  // namespace vexa::host
