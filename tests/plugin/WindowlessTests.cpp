// The plug-in in a program that cannot show windows.

#include "Host.h"
#include "Podcasts.Plugin.Dialogs.DeleteConfirmation.h"
#include "Podcasts.Plugin.Dialogs.Feed.h"
#include "Podcasts.Plugin.Dialogs.Settings.h"
#include "Podcasts.Plugin.ML.h"
#include "TempFolder.h"

#include <gtest/gtest.h>

namespace podcasts {

TEST(WindowlessTest, RefusesToShowWindowsAndGoesOn) {
    const tests::TempFolder profile;
    vexa::host::Host host({profile.Path(), QStringLiteral(LANGUAGES), QStringLiteral("English"), {}});
    vexa::TVEXAAPIWrappers::Initialize(&host.PluginCore());
    {
        TPodcastClient client(profile.File("Test.db"));
        EXPECT_EQ(TVEXAPodcastsMLExtension::Create(client)->Execute(0), vexa::S_OK);
        TfrmPodcastFeed::Edit(0, client, "https://a.example/f");
        bool deleteCachedFiles = true;
        EXPECT_FALSE(TfrmPodcastDeleteConfirmation::Execute(0, "A show", deleteCachedFiles));
        EXPECT_EQ(vexa::NewObject<TVEXAPodcastsOptionsFrame>(client)->CreatePage(1), 0u);
    }
    vexa::TVEXAAPIWrappers::Finalize();
}

}  // namespace podcasts
