#include "Podcasts.Plugin.Dialogs.Find.Pictures.h"

#include "VEXA.Runtime.Http.h"

#include <QBuffer>
#include <QImage>
#include <QImageReader>

#include <algorithm>
#include <chrono>

namespace podcasts {

using namespace vexa;

namespace {

constexpr qint64 kMaxBytes = 8 * 1024 * 1024;
constexpr qint64 kMaxDecoded = 128 * 1024 * 1024;
constexpr std::chrono::seconds kLongest{30};
constexpr std::size_t kAtATime = 4;
constexpr qsizetype kMaxWanted = 32;  // more rows than fit into a window
constexpr int kMaxKept = 500;

bool IsSecure(const QString& address) {
    return address.startsWith(u"https:", Qt::CaseInsensitive);
}

QByteArray Fetch(const QString& address, const CancelCheck& isCancelled) {
    QByteArray bytes;
    HttpGet request;
    request.Url = address;
    request.MaxBytes = kMaxBytes - 1;
    request.TotalTimeout = kLongest;
    request.OnAccepted = [](const HttpResponseInfo& response) { return IsSecure(response.Address); };
    request.OnData = [&](const char* data, std::size_t size) {
        bytes.append(data, static_cast<qsizetype>(size));
        return true;
    };
    return request.Run(isCancelled).Succeeded() ? bytes : QByteArray();
}

/// A square of `size` pixels; a null image for anything but a picture of one of the usual kinds.
QImage Decode(QByteArray bytes, int size) {
    QBuffer buffer(&bytes);
    QImageReader reader(&buffer);
    if (!QList<QByteArray>{"png", "jpeg", "gif", "webp"}.contains(reader.format())) return {};
    const QSize whole = reader.size();
    if (whole.isEmpty() || qint64{whole.width()} * whole.height() * 4 > kMaxDecoded) return {};
    reader.setAutoTransform(true);
    const QSize square(size, size);
    reader.setScaledSize(whole.scaled(square, Qt::KeepAspectRatioByExpanding));
    const QImage picture = reader.read();
    if (picture.isNull()) return {};
    return picture.copy((picture.width() - size) / 2, (picture.height() - size) / 2, size, size);
}

}  // namespace

class TPodcastFindPictures::FetchTask final : public Task {
public:
    FetchTask(TPodcastFindPictures& owner, QString address)
        : FOwner(owner.FLinks), FAddress(std::move(address)), FSize(owner.FSize) {}

    void Execute() override {
        const QByteArray bytes = Fetch(FAddress, [this] { return IsCancelled(); });
        if (!bytes.isEmpty() && !IsCancelled()) FPicture = Decode(bytes, FSize);
    }
    void Complete() override {
        RunInMainThread(
            [owner = FOwner, address = FAddress, picture = FPicture] {
                if (auto* const present = owner.Get()) present->Arrived(address, picture);
            },
            false);
    }
    TaskPriority Priority() const override { return TaskPriority::Low; }

private:
    const Link<TPodcastFindPictures> FOwner;  // used only on the main thread
    const QString FAddress;
    const int FSize;
    QImage FPicture;
};

TPodcastFindPictures::TPodcastFindPictures(std::function<void(const QString& address)> arrived)
    : FArrived(std::move(arrived)), FPictures(kMaxKept) {}

TPodcastFindPictures::~TPodcastFindPictures() {
    FLinks.Invalidate();
    for (const bool wait : {false, true})
        for (const auto& [address, task] : FFetches) WorkerPool::Cancel(task, wait);
}

QPixmap TPodcastFindPictures::Find(const QString& address, int size) {
    if (size != FSize) {
        FSize = size;
        FPictures.clear();
    }
    if (const QPixmap* const known = FPictures.object(address)) return *known;
    if (!IsSecure(address) || FFetches.contains(address)) return {};
    FWanted.removeOne(address);
    FWanted += address;
    if (FWanted.size() > kMaxWanted) FWanted.removeFirst();
    FetchNext();
    return {};
}

void TPodcastFindPictures::FetchNext() {
    while (FFetches.size() < kAtATime && !FWanted.isEmpty()) {
        const QString address = FWanted.takeLast();
        FFetches.emplace(address, WorkerPool::Run(std::make_unique<FetchTask>(*this, address)));
    }
}

void TPodcastFindPictures::Arrived(const QString& address, const QImage& picture) {
    FFetches.erase(address);
    FPictures.insert(address, new QPixmap(QPixmap::fromImage(picture)));
    FetchNext();
    if (!picture.isNull()) FArrived(address);
}

}  // namespace podcasts
