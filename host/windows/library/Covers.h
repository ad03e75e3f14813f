#pragma once
// The pictures of a storage's nodes in tree and table, such as podcasts' covers (IVEXAMLNodeImage). A view asks for a
// picture whenever it paints, and gets at once what is there: the picture, or the initials of its name on a colour of
// its own. What is missing is read in the background; Changed follows. Main thread.
//
// Decoded pictures take up to 48 MB. CoverLoader keeps scaled copies on the disk.

#include "CoverLoader.h"
#include "Library.h"

#include <QCache>
#include <QColor>
#include <QHash>
#include <QObject>
#include <QPixmap>
#include <QTimer>

#include <memory>

namespace vexa::host {

class Covers final : public QObject, private MusicLibraryListener {
    Q_OBJECT
public:
    /// Copies are kept in the profile's folder Covers.
    Covers(const QString& profileFolder, MusicLibraryService& library);
    ~Covers() override;

    /// Null: no storage is shown.
    void SetStorage(const LibraryStorage* storage);
    /// The picture of a node, given by its field and value, or by the field of a row's file and its value; a square of
    /// `side` pixels, each of `scale` pixels of the device. `name` is shown by its initials while there is no picture.
    /// Null if the storage has no pictures.
    QPixmap Get(const QString& field, const QString& value, const QString& name, int side, qreal scale);

Q_SIGNALS:
    /// Pictures have arrived. Several become one signal.
    void Changed();

private:
    struct Known {
        QString Version;     // empty: there is no picture, or it has not been read yet
        int Generation = 0;  // FGeneration when it was asked for last
    };

    void OnDataChanged(const QString& storageID) override;
    void OnTasksChanged(const QString&) override {}
    void Ask(const QString& key, const CoverRequest& request);
    void OnLoaded(const CoverRequest& request, const QString& version, const QImage& picture);
    const QPixmap& Initials(const QString& name, int side);

    MusicLibraryService& FLibrary;
    const QString FFolder;
    QString FStorageID;
    std::shared_ptr<CoverLoader> FLoader;  // null while no storage with pictures is shown
    int FGeneration = 0;                   // grows whenever pictures may have changed
    QHash<QString, Known> FKnown;          // by KeyOf
    QCache<QString, QPixmap> FPictures;    // the cost is in KiB
    QTimer FTelling, FRechecking;
    LinkSource<Covers> FLinks{this};
};

/// The first letters of the first two words that begin with one, in capitals. Empty when there is none.
QString InitialsOf(const QString& name);

/// A colour for a name, always the same, on which white text is legible: the contrast is 4.5 at least (WCAG 2, AA).
QColor ColourOf(const QString& name);

}  // namespace vexa::host
