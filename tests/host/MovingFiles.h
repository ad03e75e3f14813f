#pragma once
// A file system of the scheme "episode" whose files get new addresses when a test says so; all of them play one source.

#include "ObjectList.h"
#include "PropertyList.h"
#include "Strings.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.SDK.Files.h"

#include <QHash>
#include <QStringList>

#include <atomic>

namespace tests {

using namespace vexa;

class MovingFiles final : public host::PropertyList<IVEXAExtensionFileSystem, IVEXAFileSystemCommandPresentAddress,
                                                    IVEXAExtensionPlayerHook> {
public:
    MovingFiles() { Set(Scheme, QStringLiteral("episode")); }
    IUnknown* Identity() { return static_cast<IVEXAExtensionPlayerHook*>(this); }

    /// Without `isCounted` the count of moves does not change, so that only those who ask about the address find it.
    void Move(const QString& before, const QString& present, bool isCounted = true) {
        const TLock lock(FMutex);
        FMoves.insert(before, present);
        if (isCounted) ++FCount;
    }
    /// The file is gone, and its address names nothing from now on.
    void Remove(const QString& address) {
        const TLock lock(FMutex);
        FMoves.insert(address, QString());
        ++FVersion;
    }
    /// The file is back.
    void Restore(const QString& address) {
        const TLock lock(FMutex);
        FMoves.remove(address);
        ++FVersion;
    }
    /// The addresses that were asked about since the last call.
    QStringList TakeAsked() {
        const TLock lock(FMutex);
        return std::exchange(FAsked, {});
    }

    QString Source;                           // the source that all addresses resolve to
    std::atomic<bool> Fails{false};           // whether all questions fail
    std::atomic<std::int64_t> AskedSince{0};  // the count of moves that was passed with the last question

    void ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept override {
        if (!host::ToQString(address).startsWith(u"episode://")) return;
        address->SetChars(reinterpret_cast<const char16_t*>(Source.utf16()), int(Source.size()));
        *handled = kTrue;
    }
    HResult GetPresentAddress(IVEXAString* address) noexcept override {
        const TLock lock(FMutex);
        const auto found = FMoves.constFind(host::ToQString(address));
        if (Fails || found == FMoves.constEnd()) return E_FAIL;
        return address->SetChars(reinterpret_cast<const char16_t*>(found->utf16()), int(found->size()));
    }
    HResult GetPresentAddresses(IVEXAObjectList* addresses, std::int64_t moveCount) noexcept override {
        AskedSince = moveCount;
        {
            const TLock lock(FMutex);
            FAsked += host::ToQStringList(addresses);
        }
        HResult result = Fails ? E_FAIL : S_FALSE;
        for (std::int32_t i = 0; i < addresses->GetCount(); ++i) {
            Ref<IVEXAString> address;
            addresses->GetObject(i, IVEXAString::IID, address.PutVoid());
            if (GetPresentAddress(address.Get()) == S_OK) result = S_OK;
        }
        return result;
    }
    HResult GetMoveCount(std::int64_t* count) noexcept override {
        const TLock lock(FMutex);
        *count = FCount;
        return S_OK;
    }
    HResult GetContentVersion(std::int64_t* version) noexcept override {
        const TLock lock(FMutex);
        *version = FVersion;
        return S_OK;
    }

private:
    TMutex FMutex;
    QHash<QString, QString> FMoves VEXA_GUARDED_BY(FMutex);
    std::int64_t FCount VEXA_GUARDED_BY(FMutex) = 0, FVersion VEXA_GUARDED_BY(FMutex) = 0;
    QStringList FAsked VEXA_GUARDED_BY(FMutex);
};

}  // namespace tests
