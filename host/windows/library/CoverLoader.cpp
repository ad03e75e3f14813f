#include "CoverLoader.h"

#include "Guarded.h"
#include "Images.h"
#include "PropertyStore.h"
#include "Strings.h"
#include "VEXA.Runtime.Threads.h"

#include <QCryptographicHash>
#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QSaveFile>

namespace vexa::host {

namespace {

constexpr std::size_t kMaxWaiting = 300;  // more than a screen shows
constexpr qint64 kMaxOnDisk = qint64{200} << 20;
constexpr int kKeptBetweenSweeps = 200;

/// The middle of the picture, as a square.
QImage Squared(const QImage& picture, int side) {
    const QImage scaled = picture.scaled(side, side, Qt::KeepAspectRatioByExpanding, Qt::SmoothTransformation);
    return scaled.copy((scaled.width() - side) / 2, (scaled.height() - side) / 2, side, side);
}

}  // namespace

class CoverLoader::LoadTask final : public Task {
public:
    LoadTask(std::shared_ptr<CoverLoader> loader, Thread thread) : FLoader(std::move(loader)), FThread(thread) {}
    void Execute() override { FLoader->Run(FThread); }
    TaskPriority Priority() const override { return TaskPriority::Low; }

private:
    const std::shared_ptr<CoverLoader> FLoader;
    const Thread FThread;
};

CoverLoader::CoverLoader(Ref<IVEXAMLNodeImage> storage, const QString& storageID, const QString& folder, Loaded loaded)
    : FStorage(std::move(storage)), FStorageID(storageID), FFolder(folder), FLoaded(std::move(loaded)) {}

CoverRequest CoverLoader::Add(CoverRequest request) {
    return Enqueue(Thread::Stored, std::move(request));
}

CoverRequest CoverLoader::Enqueue(Thread thread, CoverRequest request) {
    CoverRequest dropped;
    bool isToStart = false;
    {
        const TLock lock(FMutex);
        if (FIsStopped) return dropped;
        Queue& queue = QueueOf(thread);
        queue.Waiting.push_back(std::move(request));
        if (queue.Waiting.size() > kMaxWaiting) {
            dropped = std::move(queue.Waiting.front());
            queue.Waiting.pop_front();
        }
        isToStart = !std::exchange(queue.IsRunning, true);
    }
    if (isToStart) WorkerPool::Run(std::make_unique<LoadTask>(shared_from_this(), thread));
    return dropped;
}

void CoverLoader::Stop() {
    const TLock lock(FMutex);
    FIsStopped = true;
    FStored.Waiting.clear();
    FFetching.Waiting.clear();
}

void CoverLoader::Run(Thread thread) {
    for (;;) {
        CoverRequest request;
        {
            const TLock lock(FMutex);
            Queue& queue = QueueOf(thread);
            queue.IsRunning = !queue.Waiting.empty();
            if (!queue.IsRunning) return;
            request = std::move(queue.Waiting.back());
            queue.Waiting.pop_back();
        }
        Guarded("reading a cover", [&] { Answer(thread, std::move(request)); });
    }
}

void CoverLoader::Answer(Thread thread, CoverRequest request) {
    QImage picture;
    QString version = VersionOf(request);
    if (version.isEmpty() && thread == Thread::Stored) {
        Enqueue(Thread::Fetching, std::move(request));
        return;
    }
    if (version.isEmpty()) {
        picture = Read(request, 0);
        if (!picture.isNull()) version = VersionOf(request);
    }
    const QByteArray name = (FStorageID + u'\n' + version + u'\n' + QString::number(request.Side)).toUtf8();
    const QString file = FFolder + u'/' +
                         QString::fromLatin1(QCryptographicHash::hash(name, QCryptographicHash::Sha1).toHex()) +
                         u".png";
    if (!version.isEmpty() && picture.isNull() && picture.load(file)) {
        // The time of its last use, by which Sweep chooses.
        QFile used(file);
        if (used.open(QIODevice::ReadWrite))
            used.setFileTime(QDateTime::currentDateTimeUtc(), QFileDevice::FileModificationTime);
    } else if (!version.isEmpty()) {
        if (picture.isNull()) picture = Read(request, IVEXAMLNodeImage::LocalOnly);
        if (!picture.isNull()) {
            picture = Squared(picture, request.Side);
            Keep(file, picture);
        }
    }
    if (picture.isNull()) version.clear();
    RunInMainThread(
        [self = shared_from_this(), request, version, picture] { self->FLoaded(request, version, picture); }, false);
}

QString CoverLoader::VersionOf(const CoverRequest& request) const {
    Ref<IVEXAString> version;
    const Variant value = ToVariant(PropertyValue(request.Value));
    const bool isThere = Succeeded(FStorage->GetVersion(MakeString(request.Field).Get(), &value, version.Put()));
    return isThere ? ToQString(version.Get()) : QString();
}

QImage CoverLoader::Read(const CoverRequest& request, std::uint32_t flags) const {
    Ref<IVEXAImageContainer> image;
    const Variant value = ToVariant(PropertyValue(request.Value));
    const bool isThere = Succeeded(FStorage->GetImage(MakeString(request.Field).Get(), &value, flags, image.Put()));
    return isThere ? ToQImage(image.Get()) : QImage();
}

void CoverLoader::Keep(const QString& file, const QImage& picture) {
    QDir().mkpath(FFolder);
    QSaveFile copy(file);
    if (!copy.open(QIODevice::WriteOnly) || !picture.save(&copy, "PNG") || !copy.commit()) return;
    {
        const TLock lock(FMutex);
        if (FKept++ % kKeptBetweenSweeps != 0) return;
    }
    Sweep();
}

/// Deletes the copies that were not used for longest, until the others fit.
void CoverLoader::Sweep() const {
    qint64 size = 0;
    for (const QFileInfo& copy : QDir(FFolder).entryInfoList({QStringLiteral("*.png")}, QDir::Files, QDir::Time)) {
        size += copy.size();
        if (size > kMaxOnDisk) QFile::remove(copy.filePath());
    }
}

}  // namespace vexa::host
