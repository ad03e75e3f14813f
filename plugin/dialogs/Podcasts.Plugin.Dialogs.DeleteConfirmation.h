#pragma once
// The question before a feed is unsubscribed.

#include "Podcasts.Plugin.Dialogs.h"

class QCheckBox;

namespace podcasts {

/// Main thread.
class TfrmPodcastDeleteConfirmation : public TPodcastsCustomForm {
public:
    /// Waits for the user; true when they confirmed. Only then `deleteCachedFiles` is written: whether the feed's
    /// downloaded files are to go too.
    static bool Execute(vexa::WindowHandle owner, const QString& feedTitle, bool& deleteCachedFiles);

    TfrmPodcastDeleteConfirmation(vexa::WindowHandle owner, const QString& feedTitle);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QString FFeedName;
    QCheckBox* cbDeleteCachedFiles;
};

}  // namespace podcasts
