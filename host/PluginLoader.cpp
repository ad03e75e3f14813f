#include "PluginLoader.h"

#include "HostReasons.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Threads.h"

#include <QFileInfo>
#include <QLibrary>
#include <QtGlobal>

#include <atomic>

namespace vexa::host {

namespace {

VEXAPluginGetHeaderFunction FindEntryPoint(const QString& fileName) {
    if (!QFileInfo(fileName).isFile()) throw PluginError(Reason(HostReason("NoPlugin"), {fileName}), E_FAIL);
    QLibrary library(QFileInfo(fileName).absoluteFilePath());
    library.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
    if (!library.load())
        throw PluginError(Reason(HostReason("PluginNotLoaded"), {fileName, library.errorString()}), E_FAIL);
    const auto entry = reinterpret_cast<VEXAPluginGetHeaderFunction>(library.resolve(kPluginEntryPoint));
    if (!entry)
        throw PluginError(Reason(HostReason("PluginWithoutEntry"), {fileName, QString::fromLatin1(kPluginEntryPoint)}),
                          E_FAIL);
    return entry;
}

/// Keeps the last warning logged during its lifetime: a plug-in that refuses to start returns only a code and logs the
/// reason. At most one instance may exist at a time.
class LastWarning {
public:
    LastWarning() {
        const TLock lock(Mutex);
        LastText.clear();
        Previous = qInstallMessageHandler(Note);
    }
    ~LastWarning() { qInstallMessageHandler(Previous); }
    LastWarning(const LastWarning&) = delete;
    LastWarning& operator=(const LastWarning&) = delete;

    QString Text() const {
        const TLock lock(Mutex);
        return LastText;
    }

private:
    static void Note(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        if (type == QtWarningMsg || type == QtCriticalMsg) {
            const TLock lock(Mutex);
            LastText = text;
        }
        if (const QtMessageHandler previous = Previous) previous(type, context, text);
    }

    inline static TMutex Mutex;
    inline static QString LastText VEXA_GUARDED_BY(Mutex);
    inline static std::atomic<QtMessageHandler> Previous = nullptr;
};

}  // namespace

Plugin::Plugin(const QString& fileName) : FFileName(QFileInfo(fileName).absoluteFilePath()) {
    VEXA_ASSERT_MAIN_THREAD();
    const HResult result = FindEntryPoint(fileName)(FObject.Put());
    if (Failed(result) || !FObject)
        throw PluginError(Reason(HostReason("PluginWithoutObject"), {fileName, ToHex(result)}),
                          Failed(result) ? result : E_FAIL);
}

void Plugin::Initialize(IVEXACore* core) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!HasThisSdk(FObject.Get())) throw PluginError(Reason(HostReason("PluginForOther"), {FFileName}), E_NOTIMPL);
    const LastWarning warning;
    const HResult result = FObject->Initialize(core);
    if (Succeeded(result)) return;
    Reason cause;
    if (const QString text = warning.Text(); !text.isEmpty())
        cause = text;
    else if (result == E_NOTIMPL)
        cause = Reason(HostReason("ServiceMissing"));
    if (!cause) throw PluginError(Reason(HostReason("PluginRefused"), {FFileName, ToHex(result)}), result);
    throw PluginError(Reason(HostReason("PluginRefusedWhy"), {FFileName, ToHex(result), cause}), result);
}

void Plugin::Finalize() {
    VEXA_ASSERT_MAIN_THREAD();
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
