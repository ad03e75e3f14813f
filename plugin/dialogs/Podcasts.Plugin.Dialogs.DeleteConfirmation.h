#pragma once
// The dialog that asks for confirmation before a feed is unsubscribed.

#include "Podcasts.Plugin.Dialogs.h"

class QCheckBox;

namespace podcasts {

/// Main thread.
class TfrmPodcastDeleteConfirmation : public TPodcastsCustomForm {
public:
    /// Waits for the user; true when they have confirmed. Only then is `deleteCachedFiles` set: whether to delete the
    /// feed's downloaded files, too.
    static bool Execute(vexa::WindowHandle owner, const QString& feedTitle, bool& deleteCachedFiles);

    TfrmPodcastDeleteConfirmation(vexa::WindowHandle owner, const QString& feedTitle);

protected:
    void showEvent(QShowEvent* event) override;

private:
    QString FFeedName;
    QCheckBox* cbDeleteCachedFiles;
};

}  // namespace podcasts
