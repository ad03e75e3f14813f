#pragma once
// The desktop's media controls and the media keys: org.mpris.MediaPlayer2.vexa on the session bus. Without a bus it
// does nothing. Main thread; destroy it before the Playback.

#include "AlbumArt.h"
#include "LatestTask.h"
#include "Playback.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusObjectPath>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

namespace vexa::host {

class Mpris final : public QObject {
    Q_OBJECT
public:
    Mpris(Playback& playback, AlbumArtService& arts, const QDBusConnection& bus = QDBusConnection::sessionBus());
    ~Mpris() override;

    /// The name on the bus, with the process ID appended if another instance has the plain name. Empty without a bus.
    QString ServiceName() const { return FName; }

Q_SIGNALS:
    /// Bring the window to the front.
    void RaiseRequested();
    /// Show the document at this address, which is no audio: a feed, or a page that may name one.
    void OpenRequested(const QString& address);
    void QuitRequested();

private:
    friend class MprisPlayer;
    void NotifyChanged(const QVariantMap& properties);

    QDBusConnection FBus;
    QString FName;
};

class MprisRoot final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2")
    Q_PROPERTY(bool CanQuit READ Supported CONSTANT)
    Q_PROPERTY(bool CanRaise READ Supported CONSTANT)
    Q_PROPERTY(bool HasTrackList READ Unsupported CONSTANT)
    Q_PROPERTY(QString Identity READ Identity CONSTANT)
    Q_PROPERTY(QString DesktopEntry READ DesktopEntry CONSTANT)
    Q_PROPERTY(QStringList SupportedUriSchemes READ Schemes)
    Q_PROPERTY(QStringList SupportedMimeTypes READ MimeTypes CONSTANT)
public:
    MprisRoot(Mpris& owner, const Playback& playback)
        : QDBusAbstractAdaptor(&owner), FOwner(owner), FPlayback(playback) {}

    bool Supported() const { return true; }
    bool Unsupported() const { return false; }
    QString Identity() const { return QStringLiteral("VEXA"); }  // the name in the desktop entry
    QString DesktopEntry() const { return QStringLiteral("org.vexa_podcasts.Vexa"); }
    QStringList Schemes() const { return FPlayback.Schemes(); }
    QStringList MimeTypes() const;

public Q_SLOTS:
    void Raise() { Q_EMIT FOwner.RaiseRequested(); }
    void Quit() { Q_EMIT FOwner.QuitRequested(); }

private:
    Mpris& FOwner;
    const Playback& FPlayback;
};

/// Times on the bus are in microseconds.
class MprisPlayer final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.mpris.MediaPlayer2.Player")
    Q_PROPERTY(QString PlaybackStatus READ Status)
    Q_PROPERTY(double Rate READ Rate WRITE SetRate)
    Q_PROPERTY(double MinimumRate READ MinimumRate CONSTANT)
    Q_PROPERTY(double MaximumRate READ MaximumRate CONSTANT)
    Q_PROPERTY(QVariantMap Metadata READ Metadata)
    Q_PROPERTY(double Volume READ Volume WRITE SetVolume)
    Q_PROPERTY(qlonglong Position READ Position)
    Q_PROPERTY(bool CanGoNext READ CanGoNext)
    Q_PROPERTY(bool CanGoPrevious READ CanGoPrevious)
    Q_PROPERTY(bool CanPlay READ CanPlay)
    Q_PROPERTY(bool CanPause READ HasTrack)
    Q_PROPERTY(bool CanSeek READ HasTrack)
    Q_PROPERTY(bool CanControl READ CanControl CONSTANT)
public:
    MprisPlayer(Mpris& owner, Playback& playback, AlbumArtService& arts);

    QString Status() const;
    double Rate() const { return FPlayback.Speed(); }
    void SetRate(double rate);
    double MinimumRate() const { return MediaOutput::kSlowest; }
    double MaximumRate() const { return MediaOutput::kFastest; }
    QVariantMap Metadata() const;
    double Volume() const { return FPlayback.Volume(); }
    void SetVolume(double volume) { FPlayback.SetVolume(volume); }
    qlonglong Position() const;
    bool CanGoNext() const { return FPlayback.HasNext(); }
    bool CanGoPrevious() const { return FPlayback.HasPrevious(); }
    bool HasTrack() const { return !FPlayback.Current().Address.isEmpty(); }
    bool CanPlay() const { return HasTrack() || FPlayback.SavedPositions().LastHeard(); }
    bool CanControl() const { return true; }

public Q_SLOTS:
    void Next() { FPlayback.Next(); }
    void Previous() { FPlayback.Previous(); }
    void Pause() { FPlayback.Pause(); }
    void PlayPause() { FPlayback.PlayOrPause(); }
    void Stop() { FPlayback.Stop(); }
    void Play() { FPlayback.Resume(); }
    void Seek(qlonglong offset);
    void SetPosition(const QDBusObjectPath& track, qlonglong position);
    /// Of web addresses, the type that the server names tells audio from documents.
    void OpenUri(const QString& uri);

Q_SIGNALS:
    void Seeked(qlonglong position);

private:
    QDBusObjectPath Track() const;
    void NotifyTrack();
    /// Asks for the cover of the current album, and writes it to a file for the desktop, which takes only addresses.
    void ReadCover();

    Mpris& FOwner;
    Playback& FPlayback;
    AlbumArtService& FArts;
    const QTemporaryDir FCovers;
    QString FCoverAlbum;  // the album whose cover was asked for
    QString FCoverUrl;    // empty while it is not there, and when the album has none
    LatestTask FCoverReader, FTypeReader;
    int FTrack = 0;  // the number in the track's ID; counted up so that calls for an earlier track are recognised
    QString FTrackAddress;
};

}  // namespace vexa::host
