#include "Mpris.h"

#include "Images.h"
#include "Strings.h"
#include "VEXA.Runtime.Http.h"
#include "VEXA.Runtime.Url.h"

#include <QCoreApplication>
#include <QCryptographicHash>
#include <QDBusMessage>
#include <QUrl>

#include <algorithm>
#include <cmath>
#include <utility>

namespace vexa::host {

namespace {

const QString kPath = QStringLiteral("/org/mpris/MediaPlayer2");
constexpr double kMicroseconds = 1e6;
constexpr int kCoverSize = 512;  // pixels; desktops show it much smaller

qlonglong ToMicroseconds(double seconds) {
    return std::llround(seconds * kMicroseconds);
}

bool IsDocumentType(const QString& mimeType) {
    if (mimeType.startsWith(u"text/")) return true;
    for (const char16_t* part : {u"xml", u"html", u"json", u"opml"})
        if (mimeType.contains(QStringView(part))) return true;
    return false;
}

}  // namespace

Mpris::Mpris(Playback& playback, AlbumArtService& arts, const QDBusConnection& bus) : FBus(bus) {
    new MprisRoot(*this, playback);
    new MprisPlayer(*this, playback, arts);
    if (!FBus.isConnected() || !FBus.registerObject(kPath, this)) return;
    const QString name = QStringLiteral("org.mpris.MediaPlayer2.vexa");
    for (const QString& wanted :
         {name, QString(name + u".instance" + QString::number(QCoreApplication::applicationPid()))})
        if (FBus.registerService(wanted)) {
            FName = wanted;
            return;
        }
}

Mpris::~Mpris() {
    if (!FName.isEmpty()) FBus.unregisterService(FName);
    FBus.unregisterObject(kPath);
}

void Mpris::NotifyChanged(const QVariantMap& properties) {
    QDBusMessage signal = QDBusMessage::createSignal(kPath, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                     QStringLiteral("PropertiesChanged"));
    signal.setArguments({QStringLiteral("org.mpris.MediaPlayer2.Player"), properties, QStringList()});
    FBus.send(signal);
}

QStringList MprisRoot::MimeTypes() const {
    return {QStringLiteral("audio/mpeg"), QStringLiteral("audio/mp4"), QStringLiteral("audio/ogg"),
            QStringLiteral("audio/flac"), QStringLiteral("audio/x-wav")};
}

MprisPlayer::MprisPlayer(Mpris& owner, Playback& playback, AlbumArtService& arts)
    : QDBusAbstractAdaptor(&owner), FOwner(owner), FPlayback(playback), FArts(arts) {
    connect(&FPlayback, &Playback::StateChanged, this, &MprisPlayer::NotifyTrack);
    connect(&FPlayback, &Playback::CurrentChanged, this, &MprisPlayer::ReadCover);
    connect(&FPlayback, &Playback::CurrentChanged, this, &MprisPlayer::NotifyTrack);
    connect(&FPlayback, &Playback::DurationChanged, this, &MprisPlayer::NotifyTrack);
    connect(&FPlayback, &Playback::UpNextChanged, this, &MprisPlayer::NotifyTrack);
    connect(&FPlayback, &Playback::SpeedChanged, this, [this](double speed) {
        FOwner.NotifyChanged({{QStringLiteral("Rate"), speed}});
    });
    connect(&FPlayback, &Playback::VolumeChanged, this, [this](double volume) {
        FOwner.NotifyChanged({{QStringLiteral("Volume"), volume}});
    });
    // A track whose address moves is still the same track.
    connect(&FPlayback, &Playback::AddressesMoved, this,
            [this](const AddressMoves& moves) { FTrackAddress = moves.value(FTrackAddress, FTrackAddress); });
    connect(&FPlayback, &Playback::Seeked, this, [this](double seconds) { Q_EMIT Seeked(ToMicroseconds(seconds)); });
    NotifyTrack();
}

QString MprisPlayer::Status() const {
    if (!HasTrack()) return QStringLiteral("Stopped");
    return FPlayback.IsPlaying() ? QStringLiteral("Playing") : QStringLiteral("Paused");
}

void MprisPlayer::SetRate(double rate) {
    if (rate == 0)
        FPlayback.Pause();  // as MPRIS defines a rate of 0
    else if (rate > 0)
        FPlayback.SetSpeed(rate);
}

QDBusObjectPath MprisPlayer::Track() const {
    if (!HasTrack()) return QDBusObjectPath(QStringLiteral("/org/mpris/MediaPlayer2/TrackList/NoTrack"));
    return QDBusObjectPath(u"/vexa/track/" + QString::number(FTrack));
}

QVariantMap MprisPlayer::Metadata() const {
    QVariantMap data{{QStringLiteral("mpris:trackid"), QVariant::fromValue(Track())}};
    if (!HasTrack()) return data;
    const NowPlaying& now = FPlayback.Current();
    data.insert(QStringLiteral("xesam:title"), now.Title.isEmpty() ? now.Address : now.Title);
    data.insert(QStringLiteral("xesam:url"), now.Address);
    if (!now.Artist.isEmpty()) data.insert(QStringLiteral("xesam:artist"), QStringList{now.Artist});
    if (!now.Album.isEmpty()) data.insert(QStringLiteral("xesam:album"), now.Album);
    if (!FCoverUrl.isEmpty() && now.Album == FCoverAlbum) data.insert(QStringLiteral("mpris:artUrl"), FCoverUrl);
    if (FPlayback.Duration() > 0) data.insert(QStringLiteral("mpris:length"), ToMicroseconds(FPlayback.Duration()));
    return data;
}

void MprisPlayer::OpenUri(const QString& uri) {
    if (!IsUrl(uri)) return FPlayback.Play(uri);
    FTypeReader.Run([this, uri](const CancelCheck& isStopped) {
        QString type;
        HttpGet request;
        request.Url = uri;
        request.OnAccepted = [&](const HttpResponseInfo& response) {
            type = response.MimeType;
            return false;
        };
        request.Run(isStopped);
        // What fails is played, too: the player then says why it cannot be.
        return [this, uri, isDocument = IsDocumentType(type)] {
            isDocument ? Q_EMIT FOwner.OpenRequested(uri) : FPlayback.Play(uri);
        };
    });
}

void MprisPlayer::ReadCover() {
    const NowPlaying& now = FPlayback.Current();
    if (now.Album.isEmpty() || now.Album == FCoverAlbum) return;
    FCoverAlbum = now.Album;
    FCoverUrl.clear();
    // A name of its own for each album: the desktop keeps pictures by their addresses.
    const QByteArray digest = QCryptographicHash::hash(now.Album.toUtf8(), QCryptographicHash::Md5).toHex();
    FCoverReader.Run([this, file = now.Address, album = now.Album, arts = Ref<AlbumArtService>(&FArts),
                      name = FCovers.filePath(QString::fromLatin1(digest + ".png"))](const CancelCheck&) {
        Ref<IVEXAImageContainer> container;
        const bool isThere = Succeeded(
            arts->GetAlbumArt(MakeString(file).Get(), nullptr, MakeString(album).Get(), nullptr, container.Put()));
        QImage cover = isThere ? ToQImage(container.Get()) : QImage();
        if (std::max(cover.width(), cover.height()) > kCoverSize)
            cover = cover.scaled(kCoverSize, kCoverSize, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        const bool isSaved = !cover.isNull() && cover.save(name);
        return [this, url = isSaved ? QUrl::fromLocalFile(name).toString() : QString()] {
            FCoverUrl = url;
            if (FCoverUrl.isEmpty())
                FCoverAlbum.clear();  // looked for again with the album's next file
            else
                NotifyTrack();
        };
    });
}

qlonglong MprisPlayer::Position() const {
    return HasTrack() ? ToMicroseconds(FPlayback.Position()) : 0;
}

void MprisPlayer::Seek(qlonglong offset) {
    if (!HasTrack()) return;
    const double target = FPlayback.Position() + static_cast<double>(offset) / kMicroseconds;
    if (FPlayback.Duration() > 0 && target > FPlayback.Duration())
        FPlayback.Next();
    else
        FPlayback.Seek(target);
}

void MprisPlayer::SetPosition(const QDBusObjectPath& track, qlonglong position) {
    const double seconds = static_cast<double>(position) / kMicroseconds;
    if (HasTrack() && track == Track() && seconds >= 0 && seconds <= FPlayback.Duration()) FPlayback.Seek(seconds);
}

void MprisPlayer::NotifyTrack() {
    if (std::exchange(FTrackAddress, FPlayback.Current().Address) != FPlayback.Current().Address) ++FTrack;
    FOwner.NotifyChanged({{QStringLiteral("PlaybackStatus"), Status()},
                          {QStringLiteral("Metadata"), Metadata()},
                          {QStringLiteral("CanGoNext"), CanGoNext()},
                          {QStringLiteral("CanGoPrevious"), CanGoPrevious()},
                          {QStringLiteral("CanPlay"), CanPlay()},
                          {QStringLiteral("CanPause"), HasTrack()},
                          {QStringLiteral("CanSeek"), HasTrack()}});
}

}  // namespace vexa::host
