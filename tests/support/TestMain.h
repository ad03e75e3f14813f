#pragma once
// The main function of every test program, with the application object that its tests need.

#include "TempFolder.h"
#include "VEXA.Runtime.Threads.h"

#include <QLoggingCategory>

#include <gtest/gtest.h>

namespace tests {

template <class Application>
int RunAll(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // Keep the tests away from the user's own folders, such as the trash and the music.
    const TempFolder home;
    qputenv("HOME", QFile::encodeName(home.Path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.File(QStringLiteral("data"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.File(QStringLiteral("config"))));
    qputenv("no_proxy", "*");
    QLoggingCategory::setFilterRules(QStringLiteral("podcasts.*=false\nvexa.*=false"));

    Application application(argc, argv);
    vexa::AttachMainThread();
    return RUN_ALL_TESTS();
}

}  // namespace tests
