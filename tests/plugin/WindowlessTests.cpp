// The plug-in in a program that cannot show windows.

#include "DialogFixture.h"
#include "Podcasts.Plugin.Dialogs.DeleteConfirmation.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"
#include "Podcasts.Plugin.Dialogs.Settings.h"
#include "Podcasts.Plugin.ML.h"

namespace podcasts {

class WindowlessTest : public DialogTest {};

TEST_F(WindowlessTest, RefusesToShowWindowsAndGoesOn) {
    EXPECT_EQ(TVEXAPodcastsMLExtension::Create(*Client)->Execute(0), vexa::S_OK);
    TfrmPodcastFeed::Edit(0, *Client, "https://a.example/f");
    bool deleteCachedFiles = true;
    EXPECT_FALSE(TfrmPodcastDeleteConfirmation::Execute(0, "A show", deleteCachedFiles));
    EXPECT_EQ(vexa::NewObject<TVEXAPodcastsOptionsFrame>(*Client)->CreatePage(1), 0u);
}

}  // namespace podcasts
