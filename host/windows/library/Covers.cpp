#include "Covers.h"

#include "VEXA.Runtime.Threads.h"

#include <QCryptographicHash>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>
#include <functional>

namespace vexa::host {

namespace {

constexpr int kMaxInMemory = 48 << 10;  // KiB
constexpr qsizetype kMaxKnown = 20000;
constexpr auto kTellAfter = std::chrono::milliseconds(40);
constexpr auto kRecheckAfter = std::chrono::seconds(2);                  // a refresh changes data many times a second
constexpr double kContrast = 4.5, kRounding = 0.12, kTextHeight = 0.42;  // the last two of the side

/// Relative luminance as WCAG 2 defines it.
double LuminanceOf(const QColor& colour) {
    const auto linear = [](double part) {
        return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
}

/// The words that begin with a letter: without the number in front of a node's name, for instance.
QStringList WordsOf(const QString& name) {
    QStringList words = name.simplified().split(u' ');
    words.removeIf(
        [](const QString& word) { return word.isEmpty() || !QChar::isLetter(QStringView(word).toUcs4().value(0)); });
    return words;
}

QPixmap Rounded(int side, const std::function<void(QPainter&)>& paint) {
    QPixmap pixmap(side, side);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath outline;
    outline.addRoundedRect(0, 0, side, side, side * kRounding, side * kRounding);
    painter.setClipPath(outline);
    paint(painter);
    return pixmap;
}

QString KeyOf(const CoverRequest& request) {
    return request.Field + u'\n' + request.Value + u'\n' + QString::number(request.Side);
}
QString PictureKey(const QString& version, int side) {
    return version + u'\n' + QString::number(side);
}

}  // namespace

QString InitialsOf(const QString& name) {
    QString initials;
    for (const QString& word : WordsOf(name).mid(0, 2)) initials += word.left(word[0].isHighSurrogate() ? 2 : 1);
    return initials.toUpper();
}

QColor ColourOf(const QString& name) {
    const QByteArray digest = QCryptographicHash::hash(WordsOf(name).join(u' ').toUtf8(), QCryptographicHash::Md5);
    const int hue = (static_cast<uchar>(digest[0]) << 8 | static_cast<uchar>(digest[1])) % 360;
    QColor colour;
    for (int lightness = 130; lightness > 0; --lightness) {
        colour = QColor(QColor::fromHsl(hue, 120, lightness).rgb());
        if (1.05 / (LuminanceOf(colour) + 0.05) >= kContrast) break;
    }
    return colour;
}

Covers::Covers(const QString& profileFolder, MusicLibraryService& library)
    : FLibrary(library), FFolder(profileFolder + u"/Covers"), FPictures(kMaxInMemory) {
    FTelling.setSingleShot(true);
    FTelling.setInterval(kTellAfter);
    connect(&FTelling, &QTimer::timeout, this, &Covers::Changed);
    FRechecking.setSingleShot(true);
    FRechecking.setInterval(kRecheckAfter);
    // What is in sight is asked for again when it is painted, and shown as it is until the answer comes.
    connect(&FRechecking, &QTimer::timeout, this, [this] {
        ++FGeneration;
        Q_EMIT Changed();
    });
    FLibrary.AddListener(this);
}

Covers::~Covers() {
    FLibrary.RemoveListener(this);
    SetStorage(nullptr);
}

void Covers::SetStorage(const LibraryStorage* storage) {
    VEXA_ASSERT_MAIN_THREAD();
    if (FLoader) FLoader->Stop();
    FLoader.reset();
    FKnown.clear();
    FStorageID = storage ? storage->ID() : QString();
    auto pictures = storage ? storage->Offered<IVEXAMLNodeImage>() : Ref<IVEXAMLNodeImage>();
    if (!pictures) return;
    FLoader = std::make_shared<CoverLoader>(
        std::move(pictures), FStorageID, FFolder,
        [link = Link<Covers>(FLinks)](const CoverRequest& request, const QString& version, const QImage& picture) {
            if (Covers* alive = link.Get()) alive->OnLoaded(request, version, picture);
        });
}

QPixmap Covers::Get(const QString& field, const QString& value, const QString& name, int side, qreal scale) {
    VEXA_ASSERT_MAIN_THREAD();
    if (!FLoader) return {};
    const CoverRequest request{field, value, static_cast<int>(std::lround(side * scale))};
    const QString key = KeyOf(request);
    const auto known = FKnown.constFind(key);
    const QString version = known == FKnown.constEnd() ? QString() : known->Version;
    const QPixmap* picture = version.isEmpty() ? nullptr : FPictures.object(PictureKey(version, request.Side));
    const bool isToAsk =
        known == FKnown.constEnd() || known->Generation != FGeneration || (!picture && !version.isEmpty());
    QPixmap shown = picture ? *picture : Initials(name, request.Side);
    if (isToAsk) Ask(key, request);
    shown.setDevicePixelRatio(scale);
    return shown;
}

void Covers::Ask(const QString& key, const CoverRequest& request) {
    if (FKnown.size() >= kMaxKnown) FKnown.clear();
    Known& known = FKnown[key];
    if (known.Generation == FGeneration) known.Version.clear();  // its picture is not in memory any more
    known.Generation = FGeneration;
    const CoverRequest dropped = FLoader->Add(request);
    if (dropped.Side > 0) FKnown.remove(KeyOf(dropped));  // asked for again when it is painted again
}

void Covers::OnLoaded(const CoverRequest& request, const QString& version, const QImage& picture) {
    const auto known = FKnown.find(KeyOf(request));
    if (known == FKnown.end() || !FLoader) return;
    const bool isOther = known->Version != version;
    known->Version = version;
    const QString key = PictureKey(version, request.Side);
    if (!version.isEmpty() && !FPictures.contains(key)) {
        const int side = request.Side;
        auto pixmap = std::make_unique<QPixmap>(
            Rounded(side, [&](QPainter& painter) { painter.drawImage(QRect(0, 0, side, side), picture); }));
        FPictures.insert(key, pixmap.release(), std::max(side * side * 4 / 1024, 1));
    }
    if (isOther && !FTelling.isActive()) FTelling.start();
}

const QPixmap& Covers::Initials(const QString& name, int side) {
    static const QPixmap none;
    const QString key = u'\n' + name + u'\n' + QString::number(side);
    if (const QPixmap* painted = FPictures.object(key)) return *painted;
    auto pixmap = std::make_unique<QPixmap>(Rounded(side, [&](QPainter& painter) {
        painter.fillRect(0, 0, side, side, ColourOf(name));
        QFont font = painter.font();
        font.setPixelSize(std::max(static_cast<int>(side * kTextHeight), 1));
        font.setBold(true);
        painter.setFont(font);
        painter.setPen(Qt::white);
        painter.drawText(QRect(0, 0, side, side), Qt::AlignCenter, InitialsOf(name));
    }));
    FPictures.insert(key, pixmap.release(), std::max(side * side * 4 / 1024, 1));
    const QPixmap* painted = FPictures.object(key);
    return painted ? *painted : none;
}

void Covers::OnDataChanged(const QString& storageID) {
    if (storageID == FStorageID && FLoader && !FRechecking.isActive()) FRechecking.start();
}

}  // namespace vexa::host
