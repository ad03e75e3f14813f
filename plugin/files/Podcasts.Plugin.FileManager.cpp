#include "Podcasts.Plugin.FileManager.h"

#include "VEXA.Runtime.Dates.h"
#include "VEXA.Runtime.Desktop.h"
#include "VEXA.Runtime.Mutex.h"
#include "VEXA.Runtime.Text.h"
#include "VEXA.Runtime.Threads.h"
#include "VEXA.Runtime.Url.h"

#include <algorithm>
#include <atomic>
#include <vector>

namespace podcasts {

using namespace vexa;

namespace {

const QString kScheme = QStringLiteral("podcast");
const QString kPrefix = QStringLiteral("podcast://");

struct ClientGate {
    TMutex Mutex;
    TPodcastClient* Client VEXA_GUARDED_BY(Mutex) = nullptr;
    int Inside VEXA_GUARDED_BY(Mutex) = 0;  // number of passes that hold the client
    std::atomic<bool> IsClosing{false};
};
ClientGate Gate;

bool HasPodcastScheme(const QString& address) {
    return address.startsWith(kPrefix, Qt::CaseInsensitive);
}

/// The present address of the episode that `address` named when GetMoveCount returned `moveCount` (negative: not
/// known); empty when that episode is not stored, nothing when `address` is not one of an episode.
std::optional<QString> PresentAddress(TPodcastsDB& db, const QString& address, std::int64_t moveCount) {
    QString episodeKey;
    if (!TVEXAPodcastsFileManager::ParseURI(address, episodeKey)) return std::nullopt;
    const auto episode = db.GetEpisodeOf(episodeKey, moveCount);
    if (!episode) return QString();
    // A URI without our scheme, or a URI that looks like the older form, would not lead back to this episode.
    const QString& uri = episode->Fields[pefURI];
    return TVEXAPodcastsFileManager::ParseURI(uri, episodeKey) && episodeKey == uri ? uri : address;
}

void SetText(IVEXAString& to, const QString& text) {
    RaiseIfFailed(to.SetChars(reinterpret_cast<const char16_t*>(text.utf16()), static_cast<std::int32_t>(text.size())));
}

HResult ReadNumber(const char* what, std::int64_t* number, qint64 (TPodcastsDB::*read)()) {
    if (!number) return E_POINTER;
    *number = 0;
    const auto look = [&] {
        const auto client = TPodcastsClientPass::Enter();
        if (!client) return E_FAIL;
        *number = (client->DB().*read)();
        return S_OK;
    };
    return GuardedCall(what, look, E_FAIL);
}

QString FirstOf(const QString& text, const QString& otherwise) {
    return text.isEmpty() ? otherwise : text;
}

}  // namespace

// ---- The client for host threads ----

TPodcastsClientPass TPodcastsClientPass::Enter() {
    const TLock lock(Gate.Mutex);
    if (Gate.Client) ++Gate.Inside;
    return TPodcastsClientPass(Gate.Client);
}

TPodcastsClientPass::~TPodcastsClientPass() {
    if (!FClient) return;
    {
        const TLock lock(Gate.Mutex);
        --Gate.Inside;
    }
    if (Gate.IsClosing) WakeMainThread();
}

void TPodcastsClientPass::Close() {
    const TLock lock(Gate.Mutex);
    Gate.Client = nullptr;
    Gate.IsClosing = true;
}

bool TPodcastsClientPass::IsClosing() noexcept {
    return Gate.IsClosing;
}

QString TPodcastsResolvedEpisode::LocalFileName() const {
    QString fileName;
    return Client->GetLocalFileName(*Episode, *Feed, fileName) ? fileName : QString();
}

// ---- TVEXAPodcastsFileManager ----

void TVEXAPodcastsFileManager::RegisterFileManager(TPodcastClient& client) {
    VEXA_ASSERT_MAIN_THREAD();
    {
        const TLock lock(Gate.Mutex);
        Gate.Client = &client;
        Gate.IsClosing = false;
    }
    const auto core = HostCore();
    const auto fileManager = NewObject<TVEXAPodcastsFileManager>();
    const auto asUnknown = static_cast<TInterfacedObjectEx*>(fileManager.Get());
    core->RegisterExtension(IVEXAServicePlayer::IID, asUnknown);
    core->RegisterExtension(IVEXAServiceAudioDecoder::IID, asUnknown);
    core->RegisterExtension(IVEXAServiceFileInfo::IID, asUnknown);
    const auto fileSystem = NewObject<TVEXAPodcastsFileSystem>();
    core->RegisterExtension(IVEXAServiceFileSystem::IID, static_cast<TInterfacedObjectEx*>(fileSystem.Get()));
    const auto albumArt = NewObject<TVEXAPodcastsAlbumArtProvider>();
    core->RegisterExtension(IVEXAServiceAlbumArt::IID, static_cast<TInterfacedObjectEx*>(albumArt.Get()));
}

void TVEXAPodcastsFileManager::UnregisterFileManager() {
    VEXA_ASSERT_MAIN_THREAD();
    TPodcastsClientPass::Close();
    // Calls that still use the client may wait for the main thread, so run queued procedures meanwhile.
    DrainMainThreadUntil([] {
        const TLock lock(Gate.Mutex);
        return Gate.Inside == 0;
    });
}

bool TVEXAPodcastsFileManager::ParseURI(const QString& address, QString& episodeKey) {
    static const QString kFeedMark = QStringLiteral("/feed-");
    episodeKey.clear();
    if (!HasPodcastScheme(address)) return false;
    const auto mark = address.indexOf(kFeedMark);
    if (mark < 0) {
        episodeKey = address;
        return true;
    }
    // The older form: …/feed-ID_GUID, with the GUID in base64.
    const auto number = mark + kFeedMark.size();
    const auto delimiter = address.indexOf(u'_', number);
    if (delimiter < 0) return false;
    const QStringView digits = QStringView(address).mid(number, delimiter - number);
    const bool isNumber = std::all_of(digits.begin(), digits.end(), [](QChar c) { return c >= u'0' && c <= u'9'; });
    const int feedID = isNumber ? digits.toInt() : 0;
    episodeKey = address.mid(delimiter + 1);
    if (feedID < 1 || episodeKey.isEmpty()) return false;
    const auto decoded = QByteArray::fromBase64Encoding(episodeKey.toUtf8(), QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded) return false;
    episodeKey = MakeEpisodeKey(feedID, FromUtf8(decoded.decoded.toStdString()).trimmed());
    return true;
}

std::optional<TPodcastsResolvedEpisode> TVEXAPodcastsFileManager::ResolveEpisode(const QString& address) {
    TPodcastsResolvedEpisode result{TPodcastsClientPass::Enter(), nullptr, nullptr};
    QString episodeKey;
    if (!result.Client || !ParseURI(address, episodeKey)) return {};
    result.Episode = result.Client->DB().GetEpisode(episodeKey);
    if (!result.Episode) return {};
    result.Feed = result.Client->DB().GetFeed(result.Episode->FeedID, false);
    if (!result.Feed) return {};
    return result;
}

void TVEXAPodcastsFileManager::ResolvePlaybackURL(IVEXAString* address, Bool32* handled) noexcept {
    if (!AreGiven(address, handled)) return;
    GuardedCall("resolving a podcast address", [&] {
        const auto resolved = ResolveEpisode(FromHostString(address));
        if (!resolved) return E_FAIL;
        SetText(*address,
                WithCredentialsOf(resolved->Feed->Fields[pffURLFeed], resolved->Episode->Fields[pefURLAudio]));
        *handled = kTrue;
        return S_OK;
    });
}

HResult TVEXAPodcastsFileManager::OpenDecoder(IVEXAString* file, std::uint32_t flags, IVEXAErrorInfo* error,
                                              IVEXAAudioDecoder** decoder) noexcept {
    if (!ClearOut(decoder)) return E_POINTER;
    return GuardedCall("opening a podcast episode", [&] {
        const QString address = FromHostString(file);
        if (!HasPodcastScheme(address)) return E_NOTIMPL;
        const auto resolved = ResolveEpisode(address);
        if (!resolved) {
            const QString message = LocalizedText(QStringLiteral("Podcasts\\MSG12"));
            // If there is no message, the host may be gone and could not create a string.
            if (error) error->SetInfo(-1, message.isEmpty() ? nullptr : ToHostString(message).Get(), nullptr);
            return E_ABORT;
        }
        const QString localFile = resolved->LocalFileName();
        const auto service = localFile.isEmpty() ? nullptr : HostService<IVEXAServiceAudioDecoder>();
        if (!service) return E_NOTIMPL;
        return service->CreateDecoder(ToHostString(localFile).Get(), flags, error, decoder);
    });
}

HResult TVEXAPodcastsFileManager::QueryFileInfo(IVEXAString* file, IVEXAFileInfo* info) noexcept {
    if (!AreGiven(info)) return E_POINTER;
    const auto describe = [&] {
        const auto resolved = ResolveEpisode(FromHostString(file));
        if (!resolved) return E_FAIL;
        if (const QString localFile = resolved->LocalFileName(); !localFile.isEmpty()) {
            if (const auto service = HostService<IVEXAServiceFileInfo>())
                service->GetFileInfo(ToHostString(localFile).Get(), IVEXAServiceFileInfo::FromFileOnly, info);
        }
        const TPodcastEpisode& episode = *resolved->Episode;
        const TPodcastFeed& feed = *resolved->Feed;
        const auto write = [info](std::int32_t id, const QString& text) { WritePropertyString(info, id, text); };
        write(IVEXAFileInfo::Artist, FirstOf(episode.Fields[pefArtist], feed.Fields[pffAuthor]));
        write(IVEXAFileInfo::Title, episode.Fields[pefTitle]);
        write(IVEXAFileInfo::Comment, FirstOf(episode.Fields[pefDescription], feed.Fields[pffDescription]));
        write(IVEXAFileInfo::URL, FirstOf(episode.Fields[pefURL], feed.Fields[pffURL]));
        write(IVEXAFileInfo::Date, FormatOleDate(episode.PublishDate, u"yyyy.MM.dd"));
        WritePropertyFloat(info, IVEXAFileInfo::Duration, static_cast<double>(episode.Duration));
        write(IVEXAFileInfo::Album, feed.Fields[pffTitle]);
        write(IVEXAFileInfo::AlbumArtist, feed.Fields[pffAuthor]);
        write(IVEXAFileInfo::Copyright, feed.Fields[pffCopyright]);
        write(IVEXAFileInfo::Genre, feed.Fields[pffCategory]);
        return S_OK;
    };
    return GuardedCall("describing a podcast episode", describe, E_FAIL);
}

// ---- TVEXAPodcastsFileSystem ----

void TVEXAPodcastsFileSystem::DoGetValueAsInt32(std::int32_t propertyID, std::int32_t& value, HResult& result) {
    if (propertyID == IVEXAExtensionFileSystem::IsRemote)
        value = 1;
    else
        Implements::DoGetValueAsInt32(propertyID, value, result);
}

Ref<IUnknown> TVEXAPodcastsFileSystem::DoGetValueAsObject(std::int32_t propertyID) {
    if (propertyID == IVEXAExtensionFileSystem::Scheme) return ToHostString(kScheme);
    return Implements::DoGetValueAsObject(propertyID);
}

HResult TVEXAPodcastsFileSystem::CanOpenFolder(IVEXAString* address) noexcept {
    const auto look = [&] {
        const auto resolved = TVEXAPodcastsFileManager::ResolveEpisode(FromHostString(address));
        return resolved && !resolved->LocalFileName().isEmpty() ? S_OK : E_FAIL;
    };
    return GuardedCall("looking for an episode's file", look, E_FAIL);
}

HResult TVEXAPodcastsFileSystem::OpenFolder(IVEXAString* address) noexcept {
    const auto show = [&] {
        QString fileName;
        // The desktop may be slow, so do not hold the client while it works.
        if (const auto resolved = TVEXAPodcastsFileManager::ResolveEpisode(FromHostString(address)))
            fileName = resolved->LocalFileName();
        return !fileName.isEmpty() && ShowInFolder(fileName) ? S_OK : E_FAIL;
    };
    return GuardedCall("showing an episode's file", show, E_FAIL);
}

HResult TVEXAPodcastsFileSystem::GetPresentAddress(IVEXAString* address) noexcept {
    const auto look = [&] {
        const auto client = TPodcastsClientPass::Enter();
        const QString before = FromHostString(address);
        const auto present = client ? PresentAddress(client->DB(), before, -1) : std::nullopt;
        if (!present || present->isEmpty()) return E_FAIL;
        if (*present == before) return S_FALSE;
        SetText(*address, *present);
        return S_OK;
    };
    return GuardedCall("looking for an episode's present address", look, E_FAIL);
}

HResult TVEXAPodcastsFileSystem::GetPresentAddresses(IVEXAObjectList* addresses, std::int64_t moveCount) noexcept {
    const auto look = [&] {
        const auto client = TPodcastsClientPass::Enter();
        if (!client || !addresses) return E_FAIL;
        // Change no address before all are known, so that the host never gets half of a result.
        std::vector<std::pair<Ref<IVEXAString>, QString>> moved;
        const std::int32_t count = addresses->GetCount();
        for (std::int32_t i = 0; i < count; ++i) {
            if (TPodcastsClientPass::IsClosing()) return E_FAIL;
            Ref<IVEXAString> text;
            if (Failed(addresses->GetObject(i, IVEXAString::IID, text.PutVoid()))) continue;
            const QString before = FromHostString(text.Get());
            auto present = PresentAddress(client->DB(), before, moveCount);
            if (present && *present != before) moved.emplace_back(std::move(text), std::move(*present));
        }
        for (const auto& [text, present] : moved) SetText(*text, present);
        return moved.empty() ? S_FALSE : S_OK;
    };
    return GuardedCall("looking for episodes' present addresses", look, E_FAIL);
}

HResult TVEXAPodcastsFileSystem::GetMoveCount(std::int64_t* count) noexcept {
    return ReadNumber("counting moved episodes", count, &TPodcastsDB::GetMoveCount);
}

HResult TVEXAPodcastsFileSystem::GetContentVersion(std::int64_t* version) noexcept {
    return ReadNumber("looking for added and removed feeds", version, &TPodcastsDB::GetFeedsVersion);
}

}  // namespace podcasts
