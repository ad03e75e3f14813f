#pragma once
// Draws a podcast that was found: cover, title, facts, description, and whether it is subscribed. Main thread.

#include "Podcasts.Plugin.Dialogs.Find.Pictures.h"

#include <QStyledItemDelegate>

namespace podcasts {

/// For a list with a TPodcastFindModel.
class TPodcastFindDelegate final : public QStyledItemDelegate {
public:
    /// `pictures` must outlive the delegate.
    TPodcastFindDelegate(QObject* parent, TPodcastFindPictures& pictures)
        : QStyledItemDelegate(parent), FPictures(pictures) {}

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& at) const override;
    void paint(QPainter* painter, const QStyleOptionViewItem& given, const QModelIndex& at) const override;

private:
    void PaintCover(QPainter& painter, const QStyleOptionViewItem& option, const QRect& place,
                    const QModelIndex& at) const;

    TPodcastFindPictures& FPictures;
};

}  // namespace podcasts
