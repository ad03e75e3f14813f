#pragma once
// Covers of podcasts that are not subscribed: fetched for the rows in sight, and kept in memory only. Main thread.
//
// Only https, also after redirects; only pictures below 8 MiB that take up to 128 MiB decoded; four at a time, those
// asked for last first, because these are in sight.

#include "VEXA.Runtime.Classes.h"
#include "VEXA.Runtime.Threads.h"

#include <QCache>
#include <QPixmap>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>

namespace podcasts {

class TPodcastFindPictures {
public:
    /// `arrived` is called when a picture can be drawn that was not there when it was asked for.
    explicit TPodcastFindPictures(std::function<void(const QString& address)> arrived);
    /// Cancels the transfers, and waits for their end.
    ~TPodcastFindPictures();
    TPodcastFindPictures(const TPodcastFindPictures&) = delete;
    TPodcastFindPictures& operator=(const TPodcastFindPictures&) = delete;

    /// The picture, cut to a square of `size` pixels of the screen. Null when there is none (yet); then it is fetched.
    QPixmap Find(const QString& address, int size);

private:
    class FetchTask;

    void FetchNext();
    void Arrived(const QString& address, const QImage& picture);

    const std::function<void(const QString&)> FArrived;
    QCache<QString, QPixmap> FPictures;  // null pixmaps for what cannot be had
    QStringList FWanted;                 // the one asked for last at the end
    std::map<QString, vexa::TaskHandle> FFetches;
    int FSize = 0;
    vexa::LinkSource<TPodcastFindPictures> FLinks{this};
};

}  // namespace podcasts
