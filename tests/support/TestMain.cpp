// The main function of every test program. With TEST_WINDOWS it is one that shows windows, on no screen.

#include "TempFolder.h"
#include "VEXA.Runtime.Threads.h"

#ifdef TEST_WINDOWS
#include <QApplication>
#else
#include <QCoreApplication>
#endif
#include <QLoggingCategory>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    // The user's own folders, the trash and the music among them, are out of reach.
    const tests::TempFolder home;
    qputenv("HOME", QFile::encodeName(home.Path()));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home.File(QStringLiteral("data"))));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home.File(QStringLiteral("config"))));
    qputenv("no_proxy", "*");
    QLoggingCategory::setFilterRules(QStringLiteral("podcasts.*=false\nvexa.*=false"));

#ifdef TEST_WINDOWS
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
#else
    QCoreApplication application(argc, argv);
#endif
    vexa::AttachMainThread();
    return RUN_ALL_TESTS();
}
