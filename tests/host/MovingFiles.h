#pragma once
// A file system of the scheme "episode" whose files get new addresses when a test says so; all of them play one source.

#include "ObjectList.h"
#include "PropertyList.h"
#include "Strings.h"
#include "VEXA.SDK.Files.h"

#include <QHash>
#include <QStringList>

#include <mutex>

namespace tests {

using namespace vexa;

class MovingFiles final : public host::PropertyList<IVEXAExtensionFileSystem, IVEXAFileSystemCommandPresentAddress,
                                                    IVEXAExtensionPlayerHook> {
public:
    MovingFiles() { Set(Scheme, QStringLiteral("episode")); }

    /// Without `isCounted` the count of moves does not change, so that only those who ask about the address find it.
    void Move(const QString& before, const QString& present, bool isCounted = true) {
        const std::lock_guard lock(FMutex);
        FMoves.insert(before, present);
        if (isCounted) ++FCount;
    }
    /// Whether all questions fail from now on.
    void Fail(bool fails) {
        const std::lock_guard lock(FMutex);
        FFails = fails;
    }
    /// The addresses that were asked about since the last call.
    QStringList TakeAsked() {
        const std::lock_guard lock(FMutex);
        return std::exchange(FAsked, {});
    }

    /// The count of moves that was passed with the last question.
    std::int64_t AskedSince() {
        const std::lock_guard lock(FMutex);
        return FAskedSince;
    }

    QString Source;  // the source that all addresses resolve to

    void ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept override {
        if (!host::ToQString(address).startsWith(u"episode://")) return;
        address->SetChars(reinterpret_cast<const char16_t*>(Source.utf16()), int(Source.size()));
        *handled = kTrue;
    }
    HResult GetPresentAddress(IVEXAString* address) noexcept override {
        const std::lock_guard lock(FMutex);
        const auto found = FMoves.constFind(host::ToQString(address));
        if (FFails || found == FMoves.constEnd()) return E_FAIL;
        return address->SetChars(reinterpret_cast<const char16_t*>(found->utf16()), int(found->size()));
    }
    HResult GetPresentAddresses(IVEXAObjectList* addresses, std::int64_t moveCount) noexcept override {
        {
            const std::lock_guard lock(FMutex);
            FAsked += host::ToQStringList(addresses);
            FAskedSince = moveCount;
            if (FFails) return E_FAIL;
        }
        HResult result = S_FALSE;
        for (std::int32_t i = 0; i < addresses->GetCount(); ++i) {
            Ref<IVEXAString> address;
            addresses->GetObject(i, IVEXAString::IID, address.PutVoid());
            if (GetPresentAddress(address.Get()) == S_OK) result = S_OK;
        }
        return result;
    }
    HResult GetMoveCount(std::int64_t* count) noexcept override {
        const std::lock_guard lock(FMutex);
        *count = FCount;
        return S_OK;
    }

private:
    std::mutex FMutex;
    // The members below are guarded by FMutex.
    QHash<QString, QString> FMoves;
    std::int64_t FCount = 0;
    bool FFails = false;
    QStringList FAsked;
    std::int64_t FAskedSince = 0;
};

}  // namespace tests
